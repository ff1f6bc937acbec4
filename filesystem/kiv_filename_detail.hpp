// Internal helpers of the file-name and location classes, shared by their
// sources and reachable from the tests. Not installed, not exported.
#ifndef KIV_FILENAME_DETAIL_HPP
#define KIV_FILENAME_DETAIL_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kiv_pathprop.hpp"

class KivClRandomNumberGenerator;

namespace kiv::detail {

/// Copies at most `room` characters of `source` (null: none) to `target`,
/// stops early at a NUL of `source`, terminates `target` and returns the
/// number of characters copied. `target` must hold `room` + 1 bytes. The
/// ranges may overlap.
inline std::size_t copyBounded(char* target, const char* source, std::size_t room) noexcept {
  const std::size_t count = source != nullptr ? strnlen(source, room) : 0;
  if (count != 0) std::memmove(target, source, count);
  target[count] = '\0';
  return count;
}

/// Puts the separator of path style `style` behind the `length` characters
/// at `text` and terminates them again, unless they are empty, already end
/// with it, or leave no room within KIV_PATH_MAX_LENGTH. Returns the new
/// length.
inline std::size_t appendSeparator(char* text, std::size_t length, std::int32_t style) noexcept {
  const char separator = style == KIV_PATH_STYLE_SLASH ? '/' : '\\';
  if (length == 0 || length >= KIV_PATH_MAX_LENGTH || text[length - 1] == separator) return length;
  text[length++] = separator;
  text[length] = '\0';
  return length;
}

/// The digits of the random part of temporary names; a digit's value is
/// its position.
inline constexpr char kTmpNameAlphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_";
inline constexpr std::uint64_t kTmpNameRadix = sizeof(kTmpNameAlphabet) - 1;  // 41
/// Characters of a temporary name before its dot, of the prefix within
/// them at most, and of the whole name.
inline constexpr std::size_t kTmpNameBaseLength = 8;
inline constexpr std::size_t kTmpNamePrefixMax = 5;
inline constexpr std::size_t kTmpNameLength = kTmpNameBaseLength + 4;

/// Formats one temporary name into `out` (kTmpNameLength + 1 bytes): the
/// first k = min(5, length) characters of `prefix`, `value` as 8 - k base-41
/// digits (most significant first), ".", and the units, tens and hundreds
/// digits of `pid` in that order.
void formatTmpName(char* out, const char* prefix, std::uint64_t value, std::uint64_t pid) noexcept;

/// Draws names from `generator`, writes each one at `text` + `nameOffset`
/// (cut so that `text` stays within 4096 characters) and stops at the first
/// one that does not exist, returning true. After `maxAttempts` draws (at
/// least one) that all exist, returns false; `text` then holds the last one.
bool findUnusedTmpName(char* text, std::size_t nameOffset, const char* prefix, std::uint64_t pid,
                       const KivClRandomNumberGenerator& generator,
                       std::uint64_t maxAttempts) noexcept;

}  // namespace kiv::detail

#endif
