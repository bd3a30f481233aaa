#include "linux/PageCodec.h"

#include <cerrno>
#include <string>

#include "platform/tessera/GVErrors.h"

namespace tessera {

NSDataPtr decodeToken(capnp::Data::Reader wire, NSErrorPtr* error) {
  if (wire.size() > kMaxTokenBytes) {
    *error = gv_errorWithPOSIXCode(
        EINVAL, "The position given is " + std::to_string(wire.size()) + " bytes long.");
    return nullptr;
  }
  if (wire.size() == 0) return nullptr;
  return NSData::dataWithBytes({wire.begin(), wire.size()});
}

capnp::Data::Reader encodeToken(const NSDataPtr& token) {
  if (!token) return {};
  return {token->bytes().data(), token->length()};
}

NSFileProviderPage decodePage(wire::Page::Reader wire, NSErrorPtr* error) {
  switch (wire.which()) {
    case wire::Page::NONE:
      return nullptr;
    case wire::Page::INITIAL_BY_NAME:
      return NSFileProviderInitialPageSortedByName();
    case wire::Page::INITIAL_BY_DATE:
      return NSFileProviderInitialPageSortedByDate();
    case wire::Page::TOKEN:
      return decodeToken(wire.getToken(), error);
  }
  *error = gv_errorWithPOSIXCode(EINVAL, "The position given is of an unknown kind.");
  return nullptr;
}

void encodePage(const NSFileProviderPage& page, wire::Page::Builder wire) {
  if (!page) {
    wire.setNone();
  } else if (page == NSFileProviderInitialPageSortedByName()) {
    wire.setInitialByName();
  } else if (page == NSFileProviderInitialPageSortedByDate()) {
    wire.setInitialByDate();
  } else {
    wire.setToken(encodeToken(page));
  }
}

}  // namespace tessera
