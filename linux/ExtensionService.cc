#include "linux/ExtensionService.h"

#include <cerrno>
#include <string>
#include <utility>

#include "linux/EnumeratorService.h"
#include "linux/ErrorCodec.h"
#include "linux/ItemCodec.h"
#include "linux/RequestReply.h"
#include "linux/WireText.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

using Extension = wire::FileProviderExtension;

// nil, with an error, for a path that names no place.
NSURLPtr urlOf(const std::string& path, NSErrorPtr* error) {
  if (path.starts_with('/') && path.find('\0') == std::string::npos) {
    return NSURL::fileURLWithPath(path);
  }
  *error = gv_errorWithPOSIXCode(EINVAL, "The path given is not an absolute one.");
  return nullptr;
}

NSErrorPtr noEnumeratorError() {
  return NSError::errorWithDomain(
      GVTesseraErrorDomain, GVTesseraErrorUnknown,
      {{NSLocalizedDescriptionKey, std::string("The container cannot be listed.")}});
}

// Answers with the error that a request for content ends with, or with none.
template <class Results>
NSProvidingCompletion completionThatSends(const RequestReply<Results>& reply) {
  return [reply](const NSErrorPtr& error) {
    reply.send([&](auto results) { encodeError(error, results.initError()); });
  };
}

void startProviding(NSFileProviderExtension& extension, const NSURLPtr& url, std::uint64_t options,
                    const NSProvidingCompletion& completion) {
  auto* withOptions = dynamic_cast<NSFileProviderExtension_Private*>(&extension);
  if (withOptions != nullptr) {
    withOptions->startProvidingItemAtURL(url, options, completion);
  } else {
    extension.startProvidingItemAtURL(url, completion);
  }
}

}  // namespace

kj::Promise<void> ExtensionService::ping(PingContext context) {
  return answerOnPool(_loop, _requests, context,
                      [](const RequestReply<Extension::PingResults>& r) { r.send([](auto) {}); });
}

kj::Promise<void> ExtensionService::itemForIdentifier(ItemForIdentifierContext context) {
  using Reply = RequestReply<Extension::ItemForIdentifierResults>;
  return answerOnPool(
      _loop, _requests, context,
      [extension = _extension,
       identifier = textOf(context.getParams().getIdentifier())](const Reply& reply) {
        NSErrorPtr error;
        const auto item = extension->itemForIdentifier(identifier, &error);
        reply.send([&](auto results) {
          if (item) encodeProviderItem(*item, results.initItem());
          results.setFound(item != nullptr);
          if (!item && error) encodeError(error, results.initError());
        });
      });
}

kj::Promise<void> ExtensionService::urlForItem(UrlForItemContext context) {
  using Reply = RequestReply<Extension::UrlForItemResults>;
  return answerOnPool(
      _loop, _requests, context,
      [extension = _extension,
       identifier = textOf(context.getParams().getIdentifier())](const Reply& reply) {
        const auto url = extension->URLForItemWithPersistentIdentifier(identifier);
        reply.send([&](auto results) {
          if (url) results.setPath(url->path());
          results.setFound(url != nullptr);
        });
      });
}

kj::Promise<void> ExtensionService::identifierForItemAtPath(
    IdentifierForItemAtPathContext context) {
  using Reply = RequestReply<Extension::IdentifierForItemAtPathResults>;
  return answerOnPool(
      _loop, _requests, context,
      [extension = _extension, path = textOf(context.getParams().getPath())](const Reply& reply) {
        NSErrorPtr ignored;
        const auto url = urlOf(path, &ignored);
        const auto identifier =
            url ? extension->persistentIdentifierForItemAtURL(url) : std::nullopt;
        reply.send([&](auto results) {
          if (identifier) results.setIdentifier(*identifier);
          results.setFound(identifier.has_value());
        });
      });
}

// The enumerator comes back as an object, and only the loop can make it a capability.
kj::Promise<void> ExtensionService::enumeratorForContainer(EnumeratorForContainerContext context) {
  struct Made {
    NSFileProviderEnumeratorPtr enumerator;
    NSErrorPtr error;
  };
  auto identifier = textOf(context.getParams().getIdentifier());
  context.releaseParams();
  auto answer = LoopFulfiller<Made>::make(_loop);
  _requests.run([extension = _extension, identifier = std::move(identifier),
                 fulfiller = std::move(answer.fulfiller)] {
    Made made;
    made.enumerator = extension->enumeratorForContainerItemIdentifier(identifier, &made.error);
    fulfiller->fulfill(std::move(made));
  });
  return answer.promise.then([context, &loop = _loop, &requests = _requests](Made made) mutable {
    auto results = context.getResults();
    if (made.enumerator) {
      results.setEnumerator(
          kj::heap<EnumeratorService>(loop, requests, std::move(made.enumerator)));
    } else {
      encodeError(made.error ? made.error : noEnumeratorError(), results.initError());
    }
  });
}

kj::Promise<void> ExtensionService::startProviding(StartProvidingContext context) {
  using Reply = RequestReply<Extension::StartProvidingResults>;
  const auto params = context.getParams();
  return answerOnPool(_loop, _requests, context,
                      [extension = _extension, path = textOf(params.getPath()),
                       options = params.getReadingOptions()](const Reply& reply) {
                        NSErrorPtr error;
                        const auto url = urlOf(path, &error);
                        if (!url) return completionThatSends(reply)(error);
                        tessera::startProviding(*extension, url, options,
                                                completionThatSends(reply));
                      });
}

kj::Promise<void> ExtensionService::providePlaceholder(ProvidePlaceholderContext context) {
  using Reply = RequestReply<Extension::ProvidePlaceholderResults>;
  return answerOnPool(
      _loop, _requests, context,
      [extension = _extension, path = textOf(context.getParams().getPath())](const Reply& reply) {
        NSErrorPtr error;
        const auto url = urlOf(path, &error);
        if (!url) return completionThatSends(reply)(error);
        extension->providePlaceholderAtURL(url, completionThatSends(reply));
      });
}

}  // namespace tessera
