#include <gtest/gtest.h>
#include <sys/stat.h>

#include "DaemonFixture.h"
#include "home/PublishedState.h"
#include "skiff/store/PromiseName.h"

namespace tessera {
namespace {

using Names = std::vector<std::string>;

std::string promiseOf(const DocumentRecord& record) {
  return promiseName(*ItemID::fromString(record.id.name));
}

TEST(Daemon, RefusesAHomeThatWasNeverSetUp) {
  DaemonFixture fixture;
  std::filesystem::remove(fixture.home->configFile());
  EXPECT_EQ(fixture.run(), 1);
}

TEST(Daemon, RefusesAHomeThatIsServedAlready) {
  DaemonFixture fixture;
  fixture.start();
  EXPECT_EQ(fixture.run(), 3);
  EXPECT_EQ(fixture.kill(SIGTERM), 0);
}

TEST(Daemon, RefusesUnknownArguments) {
  DaemonFixture fixture;
  EXPECT_EQ(fixture.run({"--nonsense"}), 2);
  EXPECT_EQ(fixture.run({"--lifeline", "x"}), 2);
}

TEST(Daemon, EndsWhenItsStarterIsGone) {
  DaemonFixture fixture;
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  fixture.start({"--lifeline", std::to_string(ends[0])}, ends[0]);
  ::close(ends[1]);
  EXPECT_EQ(fixture.waitForEnd(), 0);
  EXPECT_FALSE(std::filesystem::exists(fixture.home->skiffSocket()));
}

TEST(Daemon, SignedOutItListsNothingAndSaysSo) {
  DaemonFixture fixture;
  fixture.start();
  DaemonClient client(fixture);
  EXPECT_EQ(client.list(), Names{"GVTesseraErrorDomain 2"});
  EXPECT_EQ(client.waitUntilIdle(), "GVTesseraErrorDomain 2");
  EXPECT_FALSE(std::filesystem::exists(fixture.home->accountFile()));
}

TEST(Daemon, ListsWhatTheCloudHas) {
  DaemonFixture fixture;
  fixture.saveDocument("b.txt", "b");
  DocumentRecord folder = fixture.saveFolder("A");
  fixture.saveDocument("c.txt", "c", folder.id.name);
  fixture.start();
  DaemonClient client(fixture);
  EXPECT_EQ(client.login(), "");
  EXPECT_EQ(client.waitUntilIdle(), "");
  EXPECT_EQ(client.list(), (Names{"A/", "b.txt~", "Desktop/", "Documents/"}));
  EXPECT_EQ(client.list("", 1), (Names{"A/", "b.txt~", "Desktop/", "Documents/"}));
  EXPECT_EQ(client.list(folder.id.name), Names{"c.txt~"});
  EXPECT_TRUE(std::filesystem::is_directory(fixture.inTree("A")));
  auto status = client.status();
  EXPECT_EQ(status.getStatus().getDocuments(), 2u);
  EXPECT_EQ(status.getStatus().getFolders(), 3u);
  EXPECT_STREQ(status.getStatus().getCloudState().cStr(), "connected");
  EXPECT_STREQ(status.getStatus().getAccountName().cStr(), "ann");
}

TEST(Daemon, PublishesAccountAndContainersBeforeItAnswersALogin) {
  DaemonFixture fixture;
  fixture.start();
  DaemonClient client(fixture);
  ASSERT_EQ(client.login(), "");
  PublishedAccount account =
      PublishedAccount::fromJson(DaemonFixture::contentOf(fixture.home->accountFile()));
  EXPECT_EQ(account.name, "ann");
  ASSERT_TRUE(account.perAppAccountIdentifier);
  auto containers = containersFromJson(DaemonFixture::contentOf(fixture.home->containersFile()));
  ASSERT_EQ(containers.size(), 3u);
  for (const PublishedContainer& container : containers) {
    EXPECT_EQ(container.documentsPath.empty(), container.identifier == kDefaultContainer);
    EXPECT_TRUE(ItemID::fromString(container.documentsFolderId));
  }
  EXPECT_EQ(client.logout(), "");
  EXPECT_FALSE(std::filesystem::exists(fixture.home->accountFile()));
}

TEST(Daemon, KeepsTheAccountOverARestartAndRefusesAnother) {
  DaemonFixture fixture;
  fixture.start();
  std::string published;
  {
    DaemonClient client(fixture);
    ASSERT_EQ(client.login(), "");
    published = DaemonFixture::contentOf(fixture.home->accountFile());
    EXPECT_EQ(client.login("bob"), "GVTesseraErrorDomain 4");
  }
  EXPECT_EQ(fixture.kill(SIGTERM), 0);
  std::filesystem::remove(fixture.home->accountFile());
  fixture.start();
  DaemonClient client(fixture);
  EXPECT_EQ(DaemonFixture::contentOf(fixture.home->accountFile()), published);
  EXPECT_EQ(client.logout(), "");
  EXPECT_EQ(client.login("bob"), "GVTesseraErrorDomain 4");
  EXPECT_FALSE(fixture.cloud().account("bob"));
  EXPECT_EQ(client.login("ann"), "");
}

TEST(Daemon, FetchesADocumentByItsPathOrItsPromise) {
  DaemonFixture fixture;
  DocumentRecord script = DaemonFixture::document("run.sh", fixture.upload("#!/bin/sh\n"));
  script.executable = true;
  script = fixture.save(script);
  DocumentRecord text = fixture.saveDocument("text", "some text");
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  EXPECT_FALSE(std::filesystem::exists(fixture.inTree("run.sh")));
  ASSERT_TRUE(std::filesystem::exists(fixture.inTree(promiseOf(script))));
  EXPECT_EQ(client.download(fixture.inTree("run.sh")), "");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("run.sh")), "#!/bin/sh\n");
  struct stat status {};
  ASSERT_EQ(::stat(fixture.inTree("run.sh").c_str(), &status), 0);
  EXPECT_NE(status.st_mode & S_IXUSR, 0u);
  EXPECT_EQ(status.st_mtim.tv_sec, 1'650'000'000);
  EXPECT_EQ(status.st_mtim.tv_nsec, 123'456'789);
  EXPECT_FALSE(std::filesystem::exists(fixture.inTree(promiseOf(script))));
  EXPECT_EQ(client.download(fixture.inTree(promiseOf(text))), "");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("text")), "some text");
  EXPECT_EQ(client.download(fixture.inTree("text")), "");
  EXPECT_EQ(client.status().getStatus().getPresent(), 2u);
  EXPECT_EQ(client.download(fixture.inTree("none")), "NSCocoaErrorDomain 4");
  EXPECT_EQ(client.download("/etc/passwd"), "NSCocoaErrorDomain 4");
  EXPECT_EQ(client.download("relative"), "NSPOSIXErrorDomain 22");
}

TEST(Daemon, FollowsChangesOfAnotherDevice) {
  DaemonFixture fixture;
  DocumentRecord record = fixture.saveDocument("old", "one");
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  ASSERT_EQ(client.download(fixture.inTree("old")), "");
  record.name = "new";
  record = fixture.save(record);
  client.waitUntilIdle();
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("new")), "one");
  EXPECT_FALSE(std::filesystem::exists(fixture.inTree("old")));
  record.content = fixture.upload("two");
  record = fixture.save(record);
  client.waitUntilIdle();
  EXPECT_FALSE(std::filesystem::exists(fixture.inTree("new")));
  EXPECT_TRUE(std::filesystem::exists(fixture.inTree(promiseOf(record))));
  EXPECT_EQ(client.download(fixture.inTree("new")), "");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("new")), "two");
  fixture.erase(record);
  client.waitUntilIdle();
  EXPECT_FALSE(std::filesystem::exists(fixture.inTree("new")));
  EXPECT_EQ(client.list(), (Names{"Desktop/", "Documents/"}));
}

TEST(Daemon, WantsCurrentVersionFetchesWhatTheFeedHasNotBrought) {
  DaemonFixture fixture;
  DocumentRecord record = fixture.saveDocument("document", "one");
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  ASSERT_EQ(client.download(fixture.inTree("document")), "");
  record.content = fixture.upload("two");
  fixture.save(record);
  EXPECT_EQ(client.download(fixture.inTree("document"), true), "");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("document")), "two");
}

TEST(Daemon, NeverReplacesWhatAPersonChanged) {
  DaemonFixture fixture;
  DocumentRecord record = fixture.saveDocument("document", "one");
  DocumentRecord doomed = fixture.saveDocument("doomed", "one");
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  ASSERT_EQ(client.download(fixture.inTree("document")), "");
  ASSERT_EQ(client.download(fixture.inTree("doomed")), "");
  std::ofstream(fixture.inTree("document")) << "mine now";
  std::ofstream(fixture.inTree("doomed")) << "mine too";
  record.content = fixture.upload("two");
  fixture.save(record);
  fixture.erase(doomed);
  client.waitUntilIdle();
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("document")), "mine now");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("doomed")), "mine too");
  EXPECT_EQ(client.download(fixture.inTree("document"), true), "NSCocoaErrorDomain 516");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("document")), "mine now");
  EXPECT_EQ(client.status().getStatus().getProblems().size(), 2u);
  auto item = client.itemAtPath(fixture.inTree("document"));
  EXPECT_FALSE(item.getItem().getIsUploaded());
  EXPECT_FALSE(item.getItem().getIsCurrent());
}

TEST(Daemon, AFileInTheWayOfADownloadStays) {
  DaemonFixture fixture;
  fixture.saveDocument("taken", "cloud's");
  fixture.saveDocument("same", "the same");
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  std::ofstream(fixture.inTree("taken")) << "mine";
  std::ofstream(fixture.inTree("same")) << "the same";
  EXPECT_EQ(client.download(fixture.inTree("taken")), "NSCocoaErrorDomain 516");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("taken")), "mine");
  EXPECT_EQ(client.download(fixture.inTree("same")), "");
  EXPECT_TRUE(client.itemAtPath(fixture.inTree("same")).getItem().getIsDownloaded());
}

TEST(Daemon, RefusesDamagedContent) {
  DaemonFixture fixture;
  Asset asset = fixture.upload("good content");
  DocumentRecord record = fixture.save(DaemonFixture::document("document", asset));
  std::filesystem::path blob =
      fixture.cloudFolder() / "blobs" / asset.sha256.substr(0, 2) / asset.sha256;
  ASSERT_TRUE(std::filesystem::exists(blob));
  std::filesystem::permissions(blob, std::filesystem::perms::owner_all);
  std::ofstream(blob) << "evil content";
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  EXPECT_EQ(client.download(fixture.inTree("document")), "GVTesseraErrorDomain 5");
  EXPECT_FALSE(std::filesystem::exists(fixture.inTree("document")));
  EXPECT_TRUE(std::filesystem::exists(fixture.inTree(promiseOf(record))));
  EXPECT_EQ(client.status().getStatus().getProblems().size(), 1u);
  std::ofstream(blob) << "good content";
  EXPECT_EQ(client.download(fixture.inTree("document")), "");
  EXPECT_EQ(client.status().getStatus().getProblems().size(), 0u);
}

TEST(Daemon, ServesTheTreeItHasWhileTheCloudIsGone) {
  DaemonFixture fixture;
  fixture.saveDocument("document", "content");
  fixture.start();
  {
    DaemonClient client(fixture);
    client.login();
    client.waitUntilIdle();
  }
  fixture.kill(SIGTERM);
  std::filesystem::rename(fixture.cloudFolder(), fixture.folder / "elsewhere");
  fixture.start();
  DaemonClient client(fixture);
  EXPECT_EQ(client.list(), (Names{"Desktop/", "document~", "Documents/"}));
  EXPECT_EQ(client.waitUntilIdle(), "NSCocoaErrorDomain 4355");
  EXPECT_EQ(client.download(fixture.inTree("document")), "NSCocoaErrorDomain 4355");
  EXPECT_STREQ(client.status().getStatus().getCloudState().cStr(), "unreachable");
  EXPECT_FALSE(std::filesystem::exists(fixture.cloudFolder()));
  std::filesystem::rename(fixture.folder / "elsewhere", fixture.cloudFolder());
  EXPECT_EQ(client.waitUntilIdle(), "");
  EXPECT_EQ(client.download(fixture.inTree("document")), "");
}

TEST(Daemon, RefusesAnotherCloudAtItsUrl) {
  DaemonFixture fixture;
  fixture.start();
  {
    DaemonClient client(fixture);
    client.login();
    client.waitUntilIdle();
  }
  fixture.kill(SIGTERM);
  std::filesystem::rename(fixture.cloudFolder(), fixture.folder / "elsewhere");
  { auto other = openCloudService(fixture.cloudFolder(), OpenCloud::CreateIfMissing); }
  fixture.start();
  DaemonClient client(fixture);
  EXPECT_EQ(client.waitUntilIdle(), "NSCocoaErrorDomain 4355");
  EXPECT_EQ(client.list(), (Names{"Desktop/", "Documents/"}));
}

TEST(Daemon, ScansAPathWhenAsked) {
  DaemonFixture fixture;
  fixture.saveDocument("document", "content");
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  std::filesystem::create_directory(fixture.inTree("new"));
  std::ofstream(fixture.inTree("new/file.txt")) << "text";
  EXPECT_EQ(DaemonClient::describe(client.itemAtPath(fixture.inTree("new/file.txt")).getError()),
            "NSCocoaErrorDomain 4");
  auto item = client.itemAtPath(fixture.inTree("new/file.txt"), true);
  EXPECT_EQ(DaemonClient::describe(item.getError()), "");
  EXPECT_STREQ(item.getItem().getFilename().cStr(), "file.txt");
  EXPECT_STREQ(item.getItem().getContentType().cStr(), "text/plain");
  EXPECT_EQ(item.getItem().getDocumentSize(), 4u);
  EXPECT_FALSE(item.getItem().getIsUploaded());
  EXPECT_EQ(client.list(), (Names{"Desktop/", "document~", "Documents/", "new/"}));
  EXPECT_EQ(DaemonClient::describe(client.itemAtPath(fixture.inTree("none"), true).getError()),
            "NSCocoaErrorDomain 4");
  EXPECT_EQ(DaemonClient::describe(client.itemAtPath(fixture.inTree("document"), true).getError()),
            "");
  std::filesystem::create_symlink("/etc/passwd", fixture.inTree("link"));
  EXPECT_EQ(DaemonClient::describe(client.itemAtPath(fixture.inTree("link"), true).getError()),
            "NSPOSIXErrorDomain 95");
}

TEST(Daemon, TellsTheWorkingSetInPagesAndExpiresForeignTokens) {
  DaemonFixture fixture;
  std::vector<DocumentRecord> records;
  for (int index = 0; index < 5; ++index) {
    records.push_back(fixture.saveDocument("d" + std::to_string(index), "x"));
  }
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  auto changes = [&client](const std::string& token, unsigned limit) {
    auto request = client.skiff().enumerateWorkingSetChangesRequest();
    request.setChangeToken(kj::StringPtr(token.c_str(), token.size()).asBytes());
    request.setLimit(limit);
    return request.send().wait(client.io.waitScope);
  };
  std::string token;
  unsigned items = 0;
  for (;;) {
    auto reply = changes(token, 2);
    ASSERT_EQ(DaemonClient::describe(reply.getError()), "");
    auto bytes = reply.getNewToken().asChars();
    std::string next(bytes.begin(), bytes.size());
    items += reply.getUpdates().size();
    if (next == token) break;
    token = next;
  }
  EXPECT_EQ(items, 8u);  // five documents, the root and two containers' folders
  fixture.erase(records[2]);
  client.waitUntilIdle();
  auto reply = changes(token, 200);
  ASSERT_EQ(reply.getDeletions().size(), 1u);
  EXPECT_STREQ(reply.getDeletions()[0].cStr(), records[2].id.name.c_str());
  EXPECT_EQ(DaemonClient::describe(changes("foreign", 200).getError()),
            "NSFileProviderErrorDomain -1002");
  EXPECT_EQ(DaemonClient::describe(changes(token, 0).getError()), "NSPOSIXErrorDomain 22");
  EXPECT_EQ(client.logout(), "");
  EXPECT_EQ(DaemonClient::describe(changes(token, 200).getError()), "GVTesseraErrorDomain 2");
}

TEST(Daemon, SaysWhereItemsAre) {
  DaemonFixture fixture;
  DocumentRecord folder = fixture.saveFolder("folder");
  DocumentRecord record = fixture.saveDocument("document", "x", folder.id.name);
  DocumentRecord reference = DaemonFixture::document("link", std::nullopt);
  reference.kind = DocumentKind::Reference;
  reference.target = record.id;
  reference = fixture.save(reference);
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  auto place = [&client](const std::string& identifier) {
    auto request = client.skiff().documentPathRequest();
    request.setFileObjectId(identifier);
    return request.send().wait(client.io.waitScope);
  };
  EXPECT_EQ(std::string(place(record.id.name).getPath().cStr()),
            fixture.inTree("folder/document").string());
  auto link = place(reference.id.name);
  EXPECT_EQ(std::string(link.getPath().cStr()), fixture.inTree("link").string());
  EXPECT_TRUE(link.getIsReference());
  EXPECT_EQ(std::filesystem::read_symlink(fixture.inTree("link")), "folder/document");
  auto resolve = client.skiff().resolveReferenceRequest();
  resolve.setPath(fixture.inTree("link").string());
  EXPECT_EQ(std::string(resolve.send().wait(client.io.waitScope).getPath().cStr()),
            fixture.inTree("folder/document").string());
  EXPECT_EQ(DaemonClient::describe(place(ItemID::random().toString()).getError()),
            "NSCocoaErrorDomain 4");
  EXPECT_EQ(DaemonClient::describe(place("nonsense").getError()), "NSCocoaErrorDomain 4");
}

TEST(Daemon, ImportsAFolderAndShowsItInTheTree) {
  DaemonFixture fixture;
  std::filesystem::create_directories(fixture.folder / "source/sub");
  std::ofstream(fixture.folder / "source/a.txt") << "a";
  std::ofstream(fixture.folder / "source/sub/b.txt") << "bb";
  fixture.start();
  DaemonClient client(fixture);
  auto import = [&] {
    auto request = client.admin().importFolderRequest();
    request.setPath((fixture.folder / "source").string());
    return request.send().wait(client.io.waitScope);
  };
  EXPECT_EQ(DaemonClient::describe(import().getError()), "GVTesseraErrorDomain 2");
  client.login();
  auto reply = import();
  EXPECT_EQ(DaemonClient::describe(reply.getError()), "");
  EXPECT_EQ(reply.getResult().getDocuments(), 2u);
  EXPECT_EQ(reply.getResult().getFolders(), 1u);
  EXPECT_EQ(reply.getResult().getBytes(), 3u);
  client.waitUntilIdle();
  EXPECT_EQ(client.list(), (Names{"a.txt~", "Desktop/", "Documents/", "sub/"}));
  EXPECT_EQ(client.download(fixture.inTree("sub/b.txt")), "");
  EXPECT_EQ(DaemonFixture::contentOf(fixture.inTree("sub/b.txt")), "bb");
  auto unknown = client.admin().importFolderRequest();
  unknown.setPath((fixture.folder / "source").string());
  unknown.setContainerId("com.example.none");
  auto refused = unknown.send().wait(client.io.waitScope);
  EXPECT_EQ(DaemonClient::describe(refused.getError()), "NSCocoaErrorDomain 4");
  EXPECT_NE(DaemonClient::describeText(refused.getError()).find(kDesktopContainer),
            std::string::npos);
}

TEST(Daemon, AddsContainers) {
  DaemonFixture fixture;
  fixture.saveFolder("Notes");
  fixture.start();
  DaemonClient client(fixture);
  client.login();
  client.waitUntilIdle();
  auto request = client.admin().addContainerRequest();
  request.setContainerId("com.example.notes");
  request.setDisplayName("Notes");
  EXPECT_EQ(DaemonClient::describe(request.send().wait(client.io.waitScope).getError()), "");
  EXPECT_EQ(client.list(), (Names{"Desktop/", "Documents/", "Notes/", "Notes (2)/"}));
  EXPECT_TRUE(std::filesystem::is_directory(fixture.inTree("Notes (2)")));
  auto item = client.skiff().containerItemRequest();
  item.setContainerId("com.example.notes");
  EXPECT_TRUE(item.send().wait(client.io.waitScope).getFound());
  item = client.skiff().containerItemRequest();
  item.setContainerId("com.example.none");
  EXPECT_FALSE(item.send().wait(client.io.waitScope).getFound());
}

}  // namespace
}  // namespace tessera
