// What the parts of the registry share. Inside platform/host only.
#pragma once

#include <string_view>

namespace zr::host {

/// Whether the path begins at \Registry and has no empty part.
bool IsKeyPath(std::u16string_view path);

}  // namespace zr::host
