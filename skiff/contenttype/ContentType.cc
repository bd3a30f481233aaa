#include "skiff/contenttype/ContentType.h"

#include <gio/gio.h>

#include <memory>

namespace tessera {

namespace {

struct Free {
  void operator()(char* text) const { g_free(text); }
};
using OwnedText = std::unique_ptr<char, Free>;

}  // namespace

std::string contentTypeForName(const std::string& name) {
  gboolean uncertain = FALSE;
  OwnedText type(g_content_type_guess(name.c_str(), nullptr, 0, &uncertain));
  if (type == nullptr || g_content_type_is_unknown(type.get())) return {};
  OwnedText mimeType(g_content_type_get_mime_type(type.get()));
  return mimeType == nullptr ? std::string() : std::string(mimeType.get());
}

}  // namespace tessera
