#pragma once

#include <cstdint>

#include "platform/foundation/NSError.h"

namespace tessera {

// What the extension adds to errors (category GVFPAdditions): the platform understands a
// handful of errors of its own domain only. nil has no translation and stays nil.

// _gv_getFileProviderDomainErrorCode: — true if `error` has a translation, whose code is
// stored if `code` is given; otherwise `code` is left as it was.
bool _gv_getFileProviderDomainErrorCode(const NSErrorPtr& error, std::int64_t* code);

// gv_fileProviderError — the translation, with `error` under NSUnderlyingErrorKey and
// nothing else; `error` itself when there is none.
[[nodiscard]] NSErrorPtr gv_fileProviderError(const NSErrorPtr& error);

}  // namespace tessera
