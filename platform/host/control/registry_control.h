// Filling and emptying the host's registry: for tests and tools.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/registry.h"

namespace zr::host {

/// Removes every key and value.
void ClearRegistry();

/// Open handles to keys: 0 when nobody leaks one.
std::size_t OpenKeyCount();

/// Makes a key and those on the way to it, unless they are there. Paths begin with \Registry; one
/// that does not, or has an empty part, throws std::invalid_argument in all of these.
void CreateRegistryKey(std::u16string_view keyPath);

/// Sets a value, making the keys on the way. Paths and names compare without case.
void SetRegistryDword(std::u16string_view keyPath, std::u16string_view name, ULONG value);
void SetRegistryValue(std::u16string_view keyPath, std::u16string_view name, ULONG type,
                      std::string_view data);
std::optional<ULONG> GetRegistryDword(std::u16string_view keyPath, std::u16string_view name);

/// Makes every right beyond the given ones refused when this key is opened.
void LimitKeyAccess(std::u16string_view keyPath, ACCESS_MASK granted);

/// Fills the registry from text: a line "[\Registry\Machine\...]" opens a key, lines below it are
/// "name" = dword:00000003, "name" = "text" or "name" = hex:01,02,ff; # starts a comment.
/// Throws std::runtime_error that names the line and what is wrong with it, with nothing changed.
void LoadRegistryText(std::string_view text);

}  // namespace zr::host
