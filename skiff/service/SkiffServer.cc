#include "skiff/service/SkiffServer.h"

#include "skiff/service/AdminServer.h"
#include "skiff/service/ItemLookup.h"
#include "skiff/service/UpdateSenderServer.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

std::string text(capnp::Text::Reader reader) {
  return std::string(reader.begin(), reader.size());
}

// Writes an error into a reply, or hands its result to `encode`.
template <typename Context, typename T, typename Encode>
void reply(Context& context, Answer<T>& answer, const Encode& encode) {
  if (const auto* error = std::get_if<ServiceError>(&answer)) {
    error->encode(context.getResults().initError());
  } else {
    encode(context.getResults(), std::get<T>(answer));
  }
}

void encodePage(auto results, const ItemLookup::Page& page) {
  encodeItems(page.items, results.initItems(static_cast<unsigned>(page.items.size())));
  results.setNextOffset(page.nextOffset);
}

}  // namespace

kj::Promise<void> SkiffServer::ping(PingContext) {
  return kj::READY_NOW;
}

kj::Promise<void> SkiffServer::enumerateItemsInFolder(EnumerateItemsInFolderContext context) {
  auto params = context.getParams();
  return answer(
             [lookup = ItemLookup(_daemon), folder = text(params.getFolder()),
              order = params.getSortOrder(), offset = params.getOffset(),
              limit = params.getLimit()] { return lookup.entries(folder, order, offset, limit); })
      .then([context](Answer<ItemLookup::Page> page) mutable {
        reply(context, page, [](auto results, auto& value) { encodePage(results, value); });
      });
}

kj::Promise<void> SkiffServer::enumerateAllFolders(EnumerateAllFoldersContext context) {
  auto params = context.getParams();
  return answer([lookup = ItemLookup(_daemon), order = params.getSortOrder(),
                 offset = params.getOffset(),
                 limit = params.getLimit()] { return lookup.allFolders(order, offset, limit); })
      .then([context](Answer<ItemLookup::Page> page) mutable {
        reply(context, page, [](auto results, auto& value) { encodePage(results, value); });
      });
}

kj::Promise<void> SkiffServer::enumerateWorkingSetChanges(
    EnumerateWorkingSetChangesContext context) {
  auto params = context.getParams();
  auto bytes = params.getChangeToken().asChars();
  return answer([lookup = ItemLookup(_daemon), token = std::string(bytes.begin(), bytes.size()),
                 limit = params.getLimit()] { return lookup.changes(token, limit); })
      .then([context](Answer<ItemLookup::Changes> changes) mutable {
        reply(context, changes, [](auto results, ItemLookup::Changes& value) {
          encodeItems(value.updates,
                      results.initUpdates(static_cast<unsigned>(value.updates.size())));
          auto deletions = results.initDeletions(static_cast<unsigned>(value.deletions.size()));
          for (unsigned index = 0; index < deletions.size(); ++index) {
            deletions.set(index, value.deletions[index].toString());
          }
          results.setNewToken(kj::StringPtr(value.token.c_str(), value.token.size()).asBytes());
        });
      });
}

kj::Promise<void> SkiffServer::itemAtPath(ItemAtPathContext context) {
  auto params = context.getParams();
  return answer([lookup = ItemLookup(_daemon), path = text(params.getPath()),
                 scanFirst = params.getScanFirst()] { return lookup.itemAtPath(path, scanFirst); })
      .then([context](Answer<ItemRecord> item) mutable {
        reply(context, item,
              [](auto results, ItemRecord& value) { value.encode(results.initItem()); });
      });
}

kj::Promise<void> SkiffServer::documentPath(DocumentPathContext context) {
  return answer([lookup = ItemLookup(_daemon),
                 identifier = text(context.getParams().getFileObjectId())] {
           return lookup.place(identifier);
         })
      .then([context](Answer<ItemLookup::Place> place) mutable {
        reply(context, place, [](auto results, ItemLookup::Place& value) {
          results.setPath(value.path);
          results.setIsReference(value.isReference);
        });
      });
}

kj::Promise<void> SkiffServer::resolveReference(ResolveReferenceContext context) {
  return answer([lookup = ItemLookup(_daemon), path = text(context.getParams().getPath())] {
           return lookup.referenceTarget(path);
         })
      .then([context](Answer<std::string> target) mutable {
        reply(context, target,
              [](auto results, const std::string& value) { results.setPath(value); });
      });
}

kj::Promise<void> SkiffServer::containerItem(ContainerItemContext context) {
  return answer([lookup = ItemLookup(_daemon),
                 container = text(context.getParams().getContainerId())] {
           return lookup.containerItem(container);
         })
      .then([context](Answer<std::optional<ItemRecord>> answer) mutable {
        // A container that has no record is not there, whatever the reason.
        auto* item = std::get_if<std::optional<ItemRecord>>(&answer);
        if (item == nullptr || !*item) return;
        context.getResults().setFound(true);
        (*item)->encode(context.getResults().initItem());
      });
}

kj::Promise<void> SkiffServer::updateSender(UpdateSenderContext context) {
  WatcherHub::Receiver receiver(_daemon.loop, context.getParams().getReceiver());
  context.getResults().setSender(kj::heap<UpdateSenderServer>(_daemon, std::move(receiver)));
  return kj::READY_NOW;
}

kj::Promise<void> SkiffServer::download(DownloadContext context) {
  context.allowCancellation();
  auto params = context.getParams();
  bool wantsCurrent = params.getWantsCurrentVersion();
  using Missing = std::optional<ItemID>;  // what has to be fetched
  auto look = answer([&daemon = _daemon, path = text(params.getPath()), wantsCurrent]() -> Missing {
    StoredItem item = ItemLookup(daemon).at(path);
    if (item.kind != ItemKind::Document) return std::nullopt;
    if (!wantsCurrent && daemon.hydrator->isPresent(item.uuid)) return std::nullopt;
    if (item.hasRecord()) (void)daemon.accounts->require();
    return item.uuid;
  });
  using Ended = Answer<Nothing>;
  return look
      .then([&daemon = _daemon, wantsCurrent](Answer<Missing> missing) -> kj::Promise<Ended> {
        if (auto* error = std::get_if<ServiceError>(&missing)) return Ended(kj::mv(*error));
        if (!std::get<Missing>(missing)) return Ended(Nothing());
        auto pair = kj::newPromiseAndFulfiller<Ended>();
        LoopBound<kj::Own<kj::PromiseFulfiller<Ended>>> fulfiller(daemon.loop,
                                                                  kj::mv(pair.fulfiller));
        TransferQueue::Ticket ticket = daemon.transfers->request(
            *std::get<Missing>(missing), wantsCurrent,
            [queue = daemon.loop.queue(), fulfiller](const std::exception_ptr& failure) {
              Ended ended = failure ? Ended(ServiceError::of(failure)) : Ended(Nothing());
              queue->post([fulfiller, ended = kj::mv(ended)]() mutable {
                fulfiller.get()->fulfill(kj::mv(ended));
              });
            });
        return pair.promise.attach(
            kj::defer([&daemon, ticket] { daemon.transfers->cancel(ticket); }));
      })
      .then([context](Ended ended) mutable { reply(context, ended, [](auto, Nothing&) {}); });
}

kj::Promise<void> SkiffServer::admin(AdminContext context) {
  context.getResults().setAdmin(kj::heap<AdminServer>(_daemon));
  return kj::READY_NOW;
}

}  // namespace tessera
