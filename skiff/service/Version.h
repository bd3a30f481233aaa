#pragma once

namespace tessera {
inline constexpr const char* kVersion = TESSERA_VERSION;
}
