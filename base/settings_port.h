// What the rooms below the files ask of them: where a settings file is, and a place for a new one.
//
// memory/ reads memory.cfg and text/ reads language.cfg and the catalogues, but the search for them
// belongs to files/, which stands on both. This is the one seam where a lower room calls a higher
// one; files/settings_files.cpp answers.
#pragma once

namespace orsin::port {

/// Looks for a settings file as file_find() does and writes its path, 260 bytes at most.
[[nodiscard]] bool find_settings_file(const char* name, char* path) noexcept;

/// Makes the directory below the data path unless it is there, as file_ensure_directory() does, and
/// writes the path of the file in it, 260 bytes at most. False after an error line.
[[nodiscard]] bool place_settings_file(const char* directory, const char* name,
                                       char* path) noexcept;

/// Whether there is such a directory.
[[nodiscard]] bool is_settings_directory(const char* path) noexcept;

}  // namespace orsin::port
