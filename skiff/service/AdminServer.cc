#include "skiff/service/AdminServer.h"

#include "cloud/Utf8.h"
#include "skiff/service/ContainerAddition.h"
#include "skiff/service/DaemonStatus.h"
#include "skiff/service/ImportJob.h"
#include "skiff/service/ImportReporter.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

std::string text(capnp::Text::Reader reader) {
  return std::string(reader.begin(), reader.size());
}

// Names on disk need not be UTF-8, texts of the protocol must: other bytes are escaped.
std::string asText(const std::string& path) {
  static constexpr char kDigits[] = "0123456789abcdef";
  if (!isValidUtf8(path)) {
    std::string escaped;
    for (char letter : path) {
      auto byte = static_cast<unsigned char>(letter);
      if (byte < 0x80) {
        escaped.push_back(letter);
      } else {
        escaped += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
      }
    }
    return escaped;
  }
  return path;
}

void encodeReport(wire::ImportResult::Builder result, const ImportReport& report) {
  result.setFolders(report.folders);
  result.setDocuments(report.documents);
  result.setBytes(report.bytes);
  result.setUnchanged(report.unchanged);
  result.setLeftOutCount(report.leftOutCount);
  auto leftOut = result.initLeftOut(static_cast<unsigned>(report.leftOut.size()));
  for (unsigned index = 0; index < leftOut.size(); ++index) {
    leftOut[index].setPath(asText(report.leftOut[index].path));
    leftOut[index].setReason(asText(report.leftOut[index].reason));
  }
}

// For requests that give nothing but, perhaps, an error.
template <typename Context>
kj::Promise<void> replyWithError(kj::Promise<Answer<Nothing>> answer, Context context) {
  return answer.then([context](Answer<Nothing> value) mutable {
    if (auto* error = std::get_if<ServiceError>(&value)) {
      error->encode(context.getResults().initError());
    }
  });
}

// What an import gives: a report also when it failed on the way.
struct ImportOutcome {
  ImportReport report;
  std::optional<ServiceError> error;
};

ImportOutcome outcomeOf(Daemon& daemon, const std::string& path, const std::string& container,
                        ImportReporter& reporter, const std::stop_token& stop) {
  ImportOutcome outcome;
  try {
    outcome.report = runImport(
        daemon, path, container,
        [&reporter](const ImportProgress& progress) { reporter.report(progress); }, stop);
    if (outcome.report.stopped) {
      throw SkiffError(SkiffError::Code::Cancelled, "The import was ended before its end.");
    }
  } catch (const ImportFailed& failure) {
    outcome.report = failure.report();
    outcome.error = ServiceError::of(std::current_exception());
    daemon.link.noteFailure(failure);
  } catch (...) {
    outcome.error = ServiceError::of(std::current_exception());
  }
  return outcome;
}

}  // namespace

kj::Promise<void> AdminServer::status(StatusContext context) {
  return answerOnWorker(_daemon.loop, *_daemon.workers,
                        [&daemon = _daemon] { return DaemonStatus::of(daemon); })
      .then([&daemon = _daemon, context](Answer<DaemonStatus> answer) mutable {
        if (auto* status = std::get_if<DaemonStatus>(&answer)) {
          status->encode(context.getResults().initStatus(), daemon);
          return;
        }
        // The store cannot be read: that much can still be said.
        DaemonStatus status;
        status.problems.push_back(std::get<ServiceError>(answer).text);
        status.encode(context.getResults().initStatus(), daemon);
      });
}

kj::Promise<void> AdminServer::login(LoginContext context) {
  return replyWithError(
      answerOnWorker(_daemon.loop, *_daemon.workers,
                     [&daemon = _daemon, name = text(context.getParams().getAccountName())] {
                       daemon.accounts->login(name);
                       return Nothing();
                     }),
      context);
}

kj::Promise<void> AdminServer::logout(LogoutContext context) {
  return replyWithError(
      answerOnWorker(_daemon.loop, *_daemon.workers,
                     [&daemon = _daemon] {
                       daemon.accounts->logout();
                       daemon.transfers->cancelAll(std::make_exception_ptr(
                           SkiffError(SkiffError::Code::SignedOut, "The account was signed out.")));
                       return Nothing();
                     }),
      context);
}

kj::Promise<void> AdminServer::importFolder(ImportFolderContext context) {
  context.allowCancellation();
  auto params = context.getParams();
  auto reporter = std::make_shared<ImportReporter>(
      _daemon.loop, ImportReporter::Client(_daemon.loop, params.getProgress()));
  std::stop_source stop;
  auto run = answerOnWorker(_daemon.loop, *_daemon.longWorkers,
                            [&daemon = _daemon, reporter, path = text(params.getPath()),
                             container = text(params.getContainerId()), token = stop.get_token()] {
                              return outcomeOf(daemon, path, container, *reporter, token);
                            });
  return run
      .then([context](Answer<ImportOutcome> answer) mutable {
        if (auto* error = std::get_if<ServiceError>(&answer)) {
          error->encode(context.getResults().initError());
          return;
        }
        ImportOutcome& outcome = std::get<ImportOutcome>(answer);
        encodeReport(context.getResults().initResult(), outcome.report);
        if (outcome.error) outcome.error->encode(context.getResults().initError());
      })
      .attach(kj::defer([stop]() mutable { stop.request_stop(); }));
}

kj::Promise<void> AdminServer::addContainer(AddContainerContext context) {
  auto params = context.getParams();
  std::vector<std::string> icons;
  for (auto path : params.getIconPaths()) icons.push_back(text(path));
  return replyWithError(
      answerOnWorker(_daemon.loop, *_daemon.workers,
                     [&daemon = _daemon, identifier = text(params.getContainerId()),
                      name = text(params.getDisplayName()), icons = std::move(icons)] {
                       tessera::addContainer(daemon, identifier, name, icons);
                       return Nothing();
                     }),
      context);
}

kj::Promise<void> AdminServer::containers(ContainersContext context) {
  return answerOnWorker(_daemon.loop, *_daemon.workers,
                        [&daemon = _daemon] {
                          (void)daemon.accounts->require();
                          return daemon.containers.list();
                        })
      .then([&daemon = _daemon, context](Answer<std::vector<PublishedContainer>> answer) mutable {
        auto results = context.getResults();
        if (auto* error = std::get_if<ServiceError>(&answer)) {
          error->encode(results.initError());
          return;
        }
        auto& known = std::get<std::vector<PublishedContainer>>(answer);
        auto list = results.initContainers(static_cast<unsigned>(known.size()));
        for (unsigned index = 0; index < list.size(); ++index) {
          list[index].setContainerId(known[index].identifier);
          list[index].setDisplayName(known[index].displayName);
          list[index].setDocumentsPath(daemon.tree.absolutePath(known[index].documentsPath));
        }
      });
}

kj::Promise<void> AdminServer::waitUntilIdle(WaitUntilIdleContext context) {
  context.allowCancellation();
  auto pair = kj::newPromiseAndFulfiller<Answer<Nothing>>();
  LoopBound<kj::Own<kj::PromiseFulfiller<Answer<Nothing>>>> fulfiller(_daemon.loop,
                                                                      kj::mv(pair.fulfiller));
  _daemon.accounts->whenIdle(
      [queue = _daemon.loop.queue(), fulfiller](const std::exception_ptr& failure) {
        Answer<Nothing> answer = Nothing();
        if (failure) answer = ServiceError::of(failure);
        queue->post([fulfiller, answer = kj::mv(answer)]() mutable {
          fulfiller.get()->fulfill(kj::mv(answer));
        });
      });
  return replyWithError(kj::mv(pair.promise), context);
}

}  // namespace tessera
