#include "skiff/feed/CloudLink.h"

#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {
constexpr const char* kCloudKey = "cloud";
}

std::shared_ptr<CloudService> CloudLink::service() {
  std::lock_guard lock(_lock);
  if (_service) return _service;
  try {
    _service = open();
  } catch (const std::exception& error) {
    _message = error.what();
    throw;
  }
  _message.clear();
  return _service;
}

std::shared_ptr<CloudService> CloudLink::open() {
  std::optional<std::string> bound = _store.reader()->text(kCloudKey);
  std::shared_ptr<CloudService> service =
      openCloudService(_url, bound ? OpenCloud::Existing : OpenCloud::CreateIfMissing);
  std::string identifier = service->identifier();
  if (bound && *bound != identifier) {
    throw SkiffError(SkiffError::Code::WrongCloud,
                     "The cloud at " + _url +
                         " is not the one that this home was set up with. Put the right one "
                         "back, or set up another home.");
  }
  if (!bound) {
    _store.write([&identifier](StoreWriter& writer) { writer.setText(kCloudKey, identifier); });
  }
  return service;
}

void CloudLink::noteFailure(const CloudError& error) {
  switch (error.code()) {
    case CloudError::Code::Unreachable:
    case CloudError::Code::NotACloud:
    case CloudError::Code::NewerVersion:
      break;
    default:
      return;
  }
  std::lock_guard lock(_lock);
  _service.reset();
  _message = error.what();
}

CloudLink::State CloudLink::state() {
  std::lock_guard lock(_lock);
  return {_service != nullptr, _message};
}

}  // namespace tessera
