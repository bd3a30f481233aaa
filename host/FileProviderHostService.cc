#include "host/FileProviderHostService.h"

#include <unistd.h>

#include "host/EnumeratorProxy.h"
#include "host/Forward.h"

namespace tessera {
namespace {

using Extension = wire::FileProviderExtension;
using Use = ExtensionProcess::Use;

constexpr const char* kRootContainer = "NSFileProviderRootContainerItemIdentifier";

std::string textOf(capnp::Text::Reader text) {
  return {text.begin(), text.end()};
}

// Runs `then` with the extension, or answers why there is none.
template <class Context, class Then>
kj::Promise<void> withExtension(ExtensionSupervisor& extensions, Context context, Then then) {
  auto use = extensions.use();
  if (auto* refusal = std::get_if<HostError>(&use)) {
    refusal->encode(context.getResults().initError());
    return kj::READY_NOW;
  }
  return then(kj::mv(std::get<Use>(use)));
}

// The extension answers no reason when it finds nothing. Its record of an item tells whether
// it can answer at all (nobody signed in, say): if it cannot, that is the reason.
template <class Context>
kj::Promise<void> answerWhyNotFound(Context context, Use& use, const std::string& identifier,
                                    HostError otherwise) {
  auto request = use.service().itemForIdentifierRequest();
  request.setIdentifier(identifier);
  kj::Promise<capnp::Response<Extension::ItemForIdentifierResults>> call = request.send();
  return use.watch(kj::mv(call))
      .then([context, otherwise = kj::mv(otherwise)](auto response) mutable {
        auto results = context.getResults();
        if (response.getError().getDomain().size() > 0) {
          results.setError(response.getError());
        } else {
          otherwise.encode(results.initError());
        }
      });
}

// As forward(), for a request that may find nothing without saying why.
template <class R, class Context, class Copy>
kj::Promise<void> forwardLookup(Context context, Use use, kj::Promise<capnp::Response<R>> call,
                                Copy copy, std::string identifier, HostError otherwise) {
  context.releaseParams();
  context.allowCancellation();
  auto held = kj::heap(kj::mv(use));
  auto& used = *held;
  return used.watch(kj::mv(call))
      .then([context, &used, copy, identifier = kj::mv(identifier), otherwise = kj::mv(otherwise)](
                capnp::Response<R> response) mutable -> kj::Promise<void> {
        if (!response.getFound()) {
          return answerWhyNotFound(context, used, identifier, kj::mv(otherwise));
        }
        copy(response, context.getResults());
        context.getResults().setFound(true);
        return kj::READY_NOW;
      })
      .catch_([context](kj::Exception&& failure) mutable {
        HostError::of(failure).encode(context.getResults().initError());
      })
      .attach(kj::mv(held));
}

}  // namespace

kj::Promise<void> FileProviderHostService::ping(PingContext) {
  return kj::READY_NOW;
}

kj::Promise<void> FileProviderHostService::pingExtension(PingExtensionContext context) {
  return withExtension(_extensions, context, [context](Use use) mutable {
    auto request = use.service().pingRequest();
    return forward<PingExtensionContext, Extension::PingResults>(context, kj::mv(use),
                                                                 request.send(), [](auto, auto) {});
  });
}

kj::Promise<void> FileProviderHostService::itemForIdentifier(ItemForIdentifierContext context) {
  return withExtension(_extensions, context, [context](Use use) mutable {
    auto request = use.service().itemForIdentifierRequest();
    const auto identifier = context.getParams().getIdentifier();
    request.setIdentifier(identifier);
    return forward<ItemForIdentifierContext, Extension::ItemForIdentifierResults>(
        context, kj::mv(use), request.send(),
        [asked = textOf(identifier)](auto response, auto results) {
          if (response.getFound()) {
            results.setItem(response.getItem());
            results.setFound(true);
          } else if (response.getError().getDomain().size() > 0) {
            results.setError(response.getError());
          } else {
            HostError::noItem(asked).encode(results.initError());
          }
        });
  });
}

kj::Promise<void> FileProviderHostService::urlForItem(UrlForItemContext context) {
  return withExtension(_extensions, context, [context](Use use) mutable {
    auto request = use.service().urlForItemRequest();
    auto identifier = textOf(context.getParams().getIdentifier());
    request.setIdentifier(identifier);
    auto notFound = HostError::noItem(identifier);
    return forwardLookup<Extension::UrlForItemResults>(
        context, kj::mv(use), request.send(),
        [](auto& response, auto results) { results.setPath(response.getPath()); },
        kj::mv(identifier), kj::mv(notFound));
  });
}

kj::Promise<void> FileProviderHostService::identifierForItemAtPath(
    IdentifierForItemAtPathContext context) {
  return withExtension(_extensions, context, [context](Use use) mutable {
    auto request = use.service().identifierForItemAtPathRequest();
    const auto path = context.getParams().getPath();
    request.setPath(path);
    auto notFound = HostError::noItemAtPath(textOf(path));
    return forwardLookup<Extension::IdentifierForItemAtPathResults>(
        context, kj::mv(use), request.send(),
        [](auto& response, auto results) { results.setIdentifier(response.getIdentifier()); },
        kRootContainer, kj::mv(notFound));
  });
}

kj::Promise<void> FileProviderHostService::enumerator(EnumeratorContext context) {
  return withExtension(_extensions, context, [context](Use use) mutable {
    auto request = use.service().enumeratorForContainerRequest();
    const auto identifier = context.getParams().getContainerIdentifier();
    request.setIdentifier(identifier);
    auto proxyUse = kj::heap(use.another());
    return forward<EnumeratorContext, Extension::EnumeratorForContainerResults>(
               context, kj::mv(use), request.send(),
               [&held = *proxyUse, asked = textOf(identifier)](auto response, auto results) {
                 if (response.getError().getDomain().size() > 0) {
                   results.setError(response.getError());
                 } else if (response.hasEnumerator()) {
                   results.setEnumerator(
                       kj::heap<EnumeratorProxy>(held.another(), response.getEnumerator()));
                 } else {
                   HostError::noItem(asked).encode(results.initError());
                 }
               })
        .attach(kj::mv(proxyUse));
  });
}

kj::Promise<void> FileProviderHostService::startProviding(StartProvidingContext context) {
  return withExtension(_extensions, context, [context](Use use) mutable {
    auto request = use.service().startProvidingRequest();
    request.setPath(context.getParams().getPath());
    request.setReadingOptions(context.getParams().getReadingOptions());
    return forward<StartProvidingContext, Extension::StartProvidingResults>(
        context, kj::mv(use), request.send(), [](auto response, auto results) {
          if (response.getError().getDomain().size() > 0) results.setError(response.getError());
        });
  });
}

kj::Promise<void> FileProviderHostService::status(StatusContext context) {
  auto status = context.getResults().initStatus();
  status.setPid(static_cast<std::uint32_t>(::getpid()));
  status.setVersion(TESSERA_VERSION);
  status.setHome(_home.name().string());
  status.setTree(_home.tree().string());
  status.setExtensionPid(static_cast<std::uint32_t>(_extensions.pid()));
  status.setExtensionStarts(_extensions.starts());
  status.setExtensionCrashes(_extensions.crashes());
  status.setSkiffPid(static_cast<std::uint32_t>(_skiff.pid()));
  status.setSkiffStarts(_skiff.starts());
  status.setSkiffMessage(_skiff.message());
  return kj::READY_NOW;
}

kj::Promise<void> FileProviderHostService::shutdown(ShutdownContext) {
  _stop();
  return kj::READY_NOW;
}

}  // namespace tessera
