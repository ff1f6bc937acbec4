// The platform walker behind KivClDirectoryWalk: the open directory, the
// current entry's full path and its mode. Internal; not installed.
#ifndef KIV_DIRWALKER_HPP
#define KIV_DIRWALKER_HPP

#include <dirent.h>

#include <cstdint>
#include <memory>

#include "kiv_error.hpp"
#include "kiv_pathprop.hpp"

class KivClLocation;

namespace kiv::detail {

struct DirCloser {
  void operator()(DIR* dir) const noexcept { closedir(dir); }
};
/// An open directory stream, closed when the owner goes.
using UniqueDir = std::unique_ptr<DIR, DirCloser>;

/// Opens `text` as a directory stream with O_CLOEXEC; null on failure.
UniqueDir openDirectory(const char* text) noexcept;

}  // namespace kiv::detail

/// The walker of one directory, reporting into its owner's error record.
class KivClOSSDirectoryWalker {
 public:
  /// Room for a directory text and any entry name after it.
  static constexpr std::size_t kPathBufferSize = KIV_PATH_MAX_LENGTH + 1 + 256;

  /// Opens the location's directory ("./" for the empty location) and moves
  /// to the first entry. On failure: DIRWALK_COULD_NOT_INIT / IO_PROBLEM in
  /// `error`, not valid.
  KivClOSSDirectoryWalker(const KivClLocation& location, _KivStError& error) noexcept;

  KivClOSSDirectoryWalker(const KivClOSSDirectoryWalker&) = delete;
  KivClOSSDirectoryWalker& operator=(const KivClOSSDirectoryWalker&) = delete;

  /// Reads the next entry and stats it; false at the end or on a read error
  /// (DIRWALK_NO_CONTINUATION / IO_PROBLEM).
  bool setToNext() noexcept;

  bool isValid() const noexcept { return m_bValid; }
  const char* getNameWithPath() const noexcept { return m_szPath; }
  const char* getName() const noexcept { return m_pszName; }
  std::uint32_t getMode() const noexcept { return m_ulMode; }

 private:
  void markEnded() noexcept;

  char m_szPath[kPathBufferSize];  ///< directory text, then the current name
  char* m_pszName;                 ///< where the current name starts
  bool m_bValid;                   ///< standing on an entry
  _KivStError& m_rError;           ///< the owning walk's record
  kiv::detail::UniqueDir m_dir;    ///< the open directory
  std::uint32_t m_ulMode;          ///< st_mode of the entry, 0 when stat failed
};

#endif
