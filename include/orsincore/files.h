/// @file
/// File utilities, directory lists, volumes, and the small whole-file stream.
///
/// Every path is NUL-terminated UTF-8 of at most 260 bytes with its terminator. Null and longer ones
/// name nothing: what is asked of them fails as for a missing file, and no path is ever cut to
/// another file's name. Null for a buffer that a text goes into is a failure, too. The separator
/// that is looked for is the backslash; the slash is seen only where a function says so. Nothing
/// throws: a failure is a return value, and the log holds a line only where a function says so.
///
/// Volumes are asked for by path, too; those functions hand the path to the system unchanged, in
/// its narrow code page.
///
/// Links among directories (junctions, symbolic links, volumes mounted into directories): deleting
/// removes the link and never enters it. Copying a tree and searching one follow links as if the
/// directory were there, except a link to a directory that contains it: there a walk would never
/// end. Links to files are what the system makes of them.
///
/// Times called "ts" are whole seconds since 1970-01-01 00:00:00 UTC. Times in a directory list are
/// the system's own: units of 100 ns since 1601-01-01 00:00:00 UTC.
#pragma once

#include <cstddef>

#include "orsincore/base.h"

class fReadBuffer;   // The buffered reader, io.h.
class fWriteBuffer;  // The buffered writer, io.h.
struct md5_state_s;  // The MD5 context, text.h.

// ---------------------------------------------------------------------------------------------
// Directory lists
// ---------------------------------------------------------------------------------------------

/// One file, directory or drive of a list.
struct dir_list_entry {
  char* name;                     ///< UTF-8; owned by the list. A drive's label follows its NUL.
  unsigned long long write_time;  ///< Last write, 100 ns since 1601 UTC; 0 for drives.
  unsigned int stored_length;     ///< Bytes that decide where `name` lives; for the library.
  unsigned char is_directory;     ///< 1 for directories and drives, 0 for files.
};

/// A directory's content. The fields are read freely and changed by nobody but the library.
///
/// `files` and `dirs` point at the names that `entries` owns: all live until flist_delete(). A list
/// belongs to one thread at a time.
struct dir_list {
  char path[260];           ///< The directory listed, UTF-8, without a separator at its end.
  int entry_count;          ///< Elements of `entries`.
  int entry_capacity;       ///< Elements that `entries` has room for.
  dir_list_entry* entries;  ///< Files and directories, in discovery order until sorted.
  int file_count;           ///< Elements of `files`.
  int file_capacity;        ///< Elements that `files` has room for.
  char** files;             ///< The files' names.
  int dir_count;            ///< Elements of `dirs`.
  int dir_capacity;         ///< Elements that `dirs` has room for.
  char** dirs;              ///< The names of the subdirectories, or of the drives.
};

/// Lists a directory: everything but system entries, hidden entries whose name begins with ".", and
/// directories whose name begins with "..".
///
/// @param path  The directory. Empty or a lone backslash: the drives, as flist_mountp(false). A
///              drive ("C:"): its root. Something that is no directory: its parent, or the data
///              path (file_get_data()) when it names no parent.
/// @param sort  0 leaves discovery order. 1 sorts `files` by file_namecmp() and `dirs` without
///              regard to case. Anything else sorts `entries`: directories first, then older ones,
///              then by name. See flist_sort().
/// @return The caller's, until flist_delete(). A directory that cannot be opened gives an empty
///         list and one warning; one that cannot be read to its end what was read, and a warning.
///         Null when the path is null, or 258 bytes or longer, memory is
///         short, or there are no drives.
/// Any thread. Windows: FindFirstFileExW.
ORSIN_API dir_list* flist_new(const char* path, int sort);

/// Lists the files below a directory whose names match a pattern; the names are full paths.
///
/// Pattern: "?" is any byte, "*" any run of bytes, "[a-z5]" any byte of a set, a backslash takes
/// the next byte as it is; anything else stands for itself. Letters A to Z match in either case
/// unless bit 0 of `flags` is set. Paths that would not fit into 260 bytes are left out. Unsorted.
///
/// @param recursive  Also looks into all subdirectories, links included; a link to a directory above
///                   itself is passed over.
/// @param flags  Bit 0: letters match in their own case only.
/// @return The caller's, until flist_delete(). Null when `dir` or `pattern` is null, `dir` is 260
///         bytes or longer, memory is short or nothing matched. A directory that cannot be opened,
///         or not be read to its end, writes one warning.
/// Any thread. Windows: FindFirstFileExW.
ORSIN_API dir_list* flist_findfiles(const char* dir, const char* pattern, bool recursive,
                                    unsigned int flags);

/// Lists the drives as directory entries: the name, then, after its terminator, a label to show.
///
/// @param name_is_label  For network drives puts the label into the name itself.
/// @return The caller's, until flist_delete(). Null when there are no drives or memory is short.
/// Any thread. Windows: GetLogicalDriveStringsW, GetVolumeInformationW, WNetGetUniversalNameW.
ORSIN_API dir_list* flist_mountp(bool name_is_label);

/// Sorts a list as flist_new() would have: mode 1 `files` and `dirs` by name, any mode but 0 and 1
/// `entries` by kind, time and name. Equal elements keep their order.
///
/// Sorting `entries` needs at least two files or two directories to do anything: one file beside
/// one directory keeps discovery order. Null or mode 0 does nothing. The list's own thread.
ORSIN_API void flist_sort(dir_list* list, int sort);

/// Gives a list and all its names back. Null does nothing. Any thread.
ORSIN_API void flist_delete(dir_list* list);

/// Gives the storage of all names back to the system, once no list is alive or being built any
/// more. Closedown calls it; the next listing starts anew. One thread.
ORSIN_API void flist_flushcache();

/// Compares two file names as people number them: "take9.wav" before "take10.wav".
///
/// Runs of digits compare as numbers, letters A to Z without regard to case. Names whose extensions
/// differ compare byte by byte instead. The relation is therefore not transitive across extensions:
/// give it to no sort that assumes an order. Neither may be null. Any thread.
///
/// A run of digits ends before the digit that would overflow 32 bits; "007" equals "7" there, and
/// the comparison goes on behind both.
///
/// @return Negative, 0 or positive: 1 and -1 where numbers differ, else the distance of the bytes.
ORSIN_API int file_namecmp(const char* a, const char* b);

// ---------------------------------------------------------------------------------------------
// Queries
// ---------------------------------------------------------------------------------------------

/// 1 when the path exists and is not a directory, else 0. Any thread.
ORSIN_API int file_exists(const char* path);

/// 1 when the path exists and is a directory, else 0. Any thread.
ORSIN_API int file_is_directory(const char* path);

/// True when the file cannot be opened for reading; a missing file counts as in use, so ask for its
/// existence first. Any thread. Windows: _wfopen.
ORSIN_API bool file_in_use(const char* path);

/// Tests whether the last component of a path ends with `ext`, without regard to case.
///
/// @param path  The last component starts at its last backslash, which belongs to it.
/// @param ext   A plain suffix: include the dot if it is meant.
/// @return Where the suffix starts in `path`, or null, also when it is longer than the component or
///         either is null.
/// Any thread.
ORSIN_API const char* file_extension(const char* path, const char* ext);
/// The same for a path that may be changed through the result.
ORSIN_API char* file_extension(char* path, const char* ext);

/// The size in bytes; 0 when the attributes cannot be read. Any thread.
ORSIN_API long long file_size(const char* path);

/// 1 when the path has the hidden attribute, else 0, also when it cannot be read or `dir` is null
/// or empty.
///
/// @param name  When given and not empty, the entry of `dir` to look at; else `dir` itself.
/// Any thread. Windows: GetFileAttributesW.
ORSIN_API int file_is_hidden(const char* dir, const char* name);

/// 0: directories that pass for one file do not exist on this platform.
ORSIN_API int file_is_bundle(const char* path);

/// 1 when the volume of a path is removable, else 0; warns when the volume cannot be found. Any
/// thread. Windows: GetVolumePathNameA (so the path is in the system's code page), GetDriveTypeA.
ORSIN_API int is_removable_drive(const char* path);

/// 1 when the volume of a path is on the network, else 0; warns when the volume cannot be found.
/// Any thread. Windows: GetVolumePathNameA, GetDriveTypeA.
ORSIN_API int is_remote_network_drive(const char* path);

// ---------------------------------------------------------------------------------------------
// Sizes and times
// ---------------------------------------------------------------------------------------------

/// Writes a size with its unit, "1.5 KB" or "1 MB"; factors of 1024, from "B" to "EB". Whole values
/// have no decimals, others one. Beyond 1024 EB the number grows.
///
/// @param out   Receives the text, cut to fit.
/// @param size  Bytes of `out`.
/// @return True; false for a null `out`. Any thread.
ORSIN_API bool file_size_label(float bytes, char* out, int size);

/// The same for a number in text, read as atof() does. False, with nothing written, when the text
/// is null or empty.
ORSIN_API bool file_size_label(const char* text, char* out, int size);

/// Sets the time of the last write and no other. False when the file cannot be opened or the time
/// cannot be set, as those after the year 30827. Any thread. Windows: SetFileTime.
ORSIN_API bool file_set_modified_ts(const char* path, unsigned long long ts);

/// The time of the last write; 0 when the attributes cannot be read. Any thread. Windows:
/// GetFileAttributesExW.
ORSIN_API unsigned long long file_get_modified_ts(const char* path);

/// Writes a time as local date and time in the user's date format: "31.01.2024 12:34".
///
/// The hours are those of 24, but a user's format that marks the halves of the day keeps its mark:
/// "13:05 PM". The text is in the user's code page and calendar: it may hold bytes that are no
/// UTF-8, so show it or convert it, and do not parse it.
///
/// @param size  Bytes of `out`; what does not fit is left out.
/// @return True; false for a null `out`. Any thread. Windows: GetDateFormatA, GetTimeFormatA.
ORSIN_API bool file_ts_2_txt(unsigned long long ts, char* out, int size);

/// The same for a file's last write. False, with nothing written, when the attributes cannot be
/// read.
ORSIN_API bool file_get_local_datetime_str(const char* path, char* out, int size);

/// Writes the date of a file's last write, by the Gregorian calendar whatever the user's.
///
/// @param mode  0: the local date, "2024-01-31". 2: UTC, "2024-01-31T12:34:56+00:00". Any other:
///              UTC, "2024-01-31T12:34:56Z".
/// @param size  Bytes of `out`; a piece that does not fit is left out or cut.
/// @return False, with nothing written, when the attributes cannot be read. Any thread. Windows:
///         GetDateFormatA, GetTimeFormatA.
ORSIN_API bool file_get_mod_date_str(const char* path, char* out, int size, int mode);

// ---------------------------------------------------------------------------------------------
// Directories and deletion
// ---------------------------------------------------------------------------------------------

/// Makes a directory that everybody may use (an inheritable entry for the world group).
///
/// @param parents  Also makes the missing directories above it.
/// @return 0 when it was made at once, 1 when parents had to be made first, -1 on failure with the
///         reason in errno; an existing directory is a failure. Any thread. An error line is
///         written only when the world group cannot be let in; the directory is made all the same.
/// Windows: _wmkdir, SetEntriesInAclA, SetSecurityInfo.
ORSIN_API int file_create_directory(const char* path, bool parents);

/// Deletes a file or an empty directory. 0, or -1 with the reason in errno. Any thread. Windows:
/// _wunlink, _wrmdir.
ORSIN_API int file_delete(const char* path);

/// Deletes a directory with its files, and its subdirectories when `recursive`.
///
/// System entries and hidden entries whose name begins with "." are not seen, and keep it alive. A
/// link to a directory, also `path` itself, is removed alone: what it leads to stays. A
/// subdirectory that stays does not end the walk; a file that stays does. Given a file, deletes it.
///
/// @return 1 on success, -1 on failure. Any thread.
ORSIN_API int file_delete_directory(const char* path, bool recursive);

/// Makes sure that a directory exists and joins a name to it.
///
/// @param dir   Absolute (second byte ":" or first byte a backslash), or below the data path; null
///              or empty for the data path itself.
/// @param name  May be null or empty: the result then is the directory with a separator at its end.
/// @param out   260 bytes; null uses a static buffer that the next such call overwrites.
/// @return `out` or the static buffer; null when the path would exceed 260 bytes, or when the
///         directory cannot be made, after one error line.
/// Any thread that gives a buffer of its own.
ORSIN_API char* file_ensure_directory(const char* dir, const char* name, char* out);

// ---------------------------------------------------------------------------------------------
// Copying, moving, finding
// ---------------------------------------------------------------------------------------------

/// Copies a file to one destination; see the list form. A null `dst` only reads.
ORSIN_API int file_copy(const char* src, const char* dst, bool overwrite, unsigned long long& bytes,
                        fReadBuffer* reader, fWriteBuffer* writer,
                        void (*progress)(void* user, unsigned char* data,
                                         unsigned long long length),
                        void* user, bool verbose);

/// Copies a file to up to 16 destinations in one read pass, with its last-write time and
/// attributes. Missing directories of the destinations are made.
///
/// The destinations of a file of 4 MiB and more are written by a thread each, beside the reading, from
/// the reader's own buffers.
///
/// The source is open meanwhile so that others may read it but not change it; destinations are open
/// to nobody else. So a destination that is the source under another spelling of its name cannot be
/// created. Times and attributes that could not be copied are warnings, if `verbose`.
///
/// @param dsts       Ends at the first null or empty entry. Null: the source is only read.
/// @param overwrite  False refuses a destination that exists as a file; of two copies to one new name
///                   at once, one is refused. With writers of the caller it is looked for once more
///                   right before the writer is asked to open it.
/// @param bytes      Grows by the bytes copied; never reset. A source that could not be read to its
///                   end counts as ended there: compare with its size.
/// @param reader     The caller's, or null for one of eight 1 MiB buffers.
/// @param writers    As many as destinations, ended by null; or null for the copy's own. The
///                   caller's are closed after success; after a failure only the one that failed.
///                   After -2 the ones before it are open still: closed, they cut their files to
///                   what was written, which is nothing. A caller's writer is asked to open a
///                   read-only file, too; our own refuse it with -2. error() counts when it is
///                   positive.
/// @param progress   May be null. Sees each block before it is written, and (null, 0) at the end of
///                   a source that is not empty. May look at the bytes, not keep them.
/// @param verbose    Writes an error line for what fails.
/// @return 0; -1 source cannot be opened; -2 a destination cannot be created; -3 nothing can be
///         read from a source that is not empty; -4 a destination has no backslash, or a directory
///         part of 260 bytes or more; -5 a directory cannot be made; -6 no source; -7 a destination
///         exists; -8 a write fell short or failed, the last one at closing included, or a longer
///         file that stood there cannot be cut to the copy's size by a writer of our own; -9 source
///         and destination are the same string; -12 as many writers as destinations are needed; -13
///         more than 16 destinations. What was already created stays on disk; until -8 no file that
///         existed is changed.
/// Any thread; the reader and the writers are used by this call alone.
ORSIN_API int file_copy(const char* src, const char** dsts, bool overwrite,
                        unsigned long long& bytes, fReadBuffer* reader, fWriteBuffer** writers,
                        void (*progress)(void* user, unsigned char* data,
                                         unsigned long long length),
                        void* user, bool verbose);

/// Copies a file, hashing it as it passes (bit 0 of `flags`) and reading the copy back to compare
/// hashes (bit 1). An existing destination is always replaced. With both bits the copy is hashed by
/// several threads at once, from the states that MD5 (RFC 1321) had on its way through the source.
///
/// When all is copied, the source is opened for its times and shared with nobody for that moment:
/// another copy of the same source that starts right then is refused, and one that still reads keeps
/// this copy from taking over the time, with a warning.
///
/// @param overwrite  Not looked at.
/// @param bytes      Grows by the bytes copied; never reset. A source that could not be read to its
///                   end counts as ended there, also when it is verified: compare with its size.
/// @param md5        Finished with the source's digest when bit 0 is set, else not touched.
/// @param flags      Bit 1 needs bit 0 or an `md5` that already holds the expected digest.
/// @param reader     The caller's or null, as for file_copy(); `writer` alike.
/// @return 0; -1 source and destination are the same string, also both null; -2 source cannot be
///         opened or destination cannot be created; -3 nothing can be read from a source that is
///         not empty; -4 write error, or as -8 of file_copy(); -5 no backslash or a too long
///         directory part in the destination; -6 its directory cannot be made; -7 the copy reads
///         back differently. The text for the code is kept for get_error_file_copy_secure().
/// Any thread, but the kept text is one for the process.
ORSIN_API int file_copy_secure(const char* src, const char* dst, bool overwrite,
                               unsigned long long& bytes, md5_state_s& md5, unsigned int flags,
                               fReadBuffer* reader, fWriteBuffer* writer);

/// The MD5 of a whole file, compared with a finished context when one is given.
///
/// @param reader    The caller's, or null for one of eight 1 MiB buffers.
/// @param expected  May be null.
/// @return 0; -2 the file cannot be opened; -3 nothing can be read though it is not empty; -7 the
///         digests differ. The texts of -2 and -3 are kept for get_error_file_copy_secure().
/// Any thread, but the kept text is one for the process.
ORSIN_API int file_read_secure(const char* path, md5_state_s& md5, fReadBuffer* reader,
                               md5_state_s* expected);

/// The text of the last failed secure copy or read of the process.
///
/// @param code  What the failing call returned; anything but -7 to -1 clears the text.
/// @param log   Also writes it as an error line, in which "%%" becomes "%"; nothing else in it, such
///              as a conversion in a file's name, is looked at.
/// @return The library's own buffer of 512 bytes, which the next failure overwrites. -6 leaves the
///         text of the failure before.
ORSIN_API const char* get_error_file_copy_secure(int code, bool log);

/// Copies a file, or the files of a directory, with times and attributes. Refuses empty files.
///
/// Times and attributes are copied by the system's narrow calls: those of names outside its code
/// page are lost, with a warning.
///
/// @param dst        For a file source, the file or an existing directory to put it into.
/// Links are followed: the copy holds the files of what they lead to. A link to a directory that
/// contains it is passed over, with a warning. So is, with an error line, a subdirectory that cannot
/// be listed, or whose copy cannot be made.
///
/// @param recursive  Also copies subdirectories.
/// @param bytes      Set to the bytes copied. A source that could not be read to its end counts as
///                   ended there: compare with its size.
/// @return For a directory the number of files copied, for a file 0; a missing source gives 0, and
///         a directory without a destination, too.
///         Negative on failure: -1 same string or source cannot be opened, -2 destination cannot be
///         created, -3 nothing read or a write fell short; -1 for a failure inside a tree, also for
///         a directory that cannot be read to its end. -1 before anything is made for a tree that
///         was to be copied below itself, however the paths are spelled. Files of at most 1 MiB
///         are copied two at a time: up to 15 that come after the one that failed may be there.
/// The same string twice writes an error line, and a tree below itself. One call at a time in the
/// process.
ORSIN_API int ov_filecopy(const char* src, const char* dst, bool recursive,
                          unsigned long long& bytes);

/// Renames a file, making the directory of its new name. Never replaces a file.
///
/// @return 0; -4 to -7 and -9 as for file_copy(); -10 no destination; -11 the rename failed, which
/// is also what `overwrite` gives when the destination exists. Any thread. Windows: _wrename.
ORSIN_API int file_move(const char* src, const char* dst, bool overwrite);

/// Rotates numbered copies: "app.log" becomes "app.1.log", "app.1.log" becomes "app.2.log", ...
///
/// @param path         260 bytes and more name nothing, and give 0.
/// @param generations  The highest number kept; below 1 does nothing.
/// @return Steps carried out; a failed rename counts as well and writes an error line, as does an
///         oldest one that cannot be removed.
/// Any thread, one for each path.
ORSIN_API int file_backup(const char* path, int generations);

/// Finds a file as named or on the search list of settings directories that start-up sets.
///
/// @param out  260 bytes for the path found; null, or `name` itself, is left alone.
/// @return 1 when found, else 0; after an error line for a null or empty name. A missing
/// environment variable in the list writes a debug line.
/// Any thread.
ORSIN_API int file_find(const char* name, char* out);

/// Finds a file below a directory, depth first, subdirectories by name, links included; a link to a
/// directory above itself is passed over.
///
/// @param name  Only its last component counts.
/// @param out   Receives the path; scratch space when nothing is found.
/// @param size  Bytes of `out`.
/// @return 1 when found, else 0. Any thread.
ORSIN_API int file_search(const char* dir, const char* name, char* out, std::size_t size);

/// Copies a name, writing "_" for bytes that file names should not hold.
///
/// @param out   Receives the name; as many bytes as `size`, or as the name when that is not
///              positive.
/// @param size  Bytes of `out`; 0 or negative sets no bound.
/// @return Bytes taken from `name`, which may be null; `size` when it was cut; 0 for a null `out`.
/// Any thread.
ORSIN_API int ov_copy_valid_filename(char* out, const char* name, int size);

// ---------------------------------------------------------------------------------------------
// Volumes
//
// These pass paths on unchanged to the system's narrow calls, which read them in the user's code
// page: a name outside ASCII finds nothing, or in a page of several bytes a letter swallows the
// backslash behind it. Ask by the drive's root, "C:\", wherever that is enough.
// ---------------------------------------------------------------------------------------------

/// The free bytes of a path's volume, whatever the caller's quota; 0 on failure. The path is a
/// directory, one on a share ends in a backslash; a file's path fails. Any thread.
/// Windows: GetDiskFreeSpaceExA.
ORSIN_API unsigned long long ov_freespace(const char* path);

/// How many pieces of disks a fixed volume consists of, and its cluster size in bytes.
///
/// @return False, after a warning, when the volume cannot be found or is no fixed disk; false also
///         when the system does not tell the pieces (the cluster size may be set then).
/// One thread at a time. Windows: GetDiskFreeSpaceA, IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS.
ORSIN_API bool ov_get_volumeinfo(const char* path, unsigned int& extents, unsigned int& cluster);

/// The mount point of a path, as in "C:\". False after a warning.
///
/// @param size  Bytes of `out`; 3 are enough for "C:" alone, which is then the answer.
/// Any thread. Windows: GetVolumePathNameA.
ORSIN_API bool ov_get_volumepath(const char* path, char* out, std::size_t size);

/// Whether a path is on a local fixed disk; asks for its mount point when it is no root itself. Any
/// thread. Windows: GetDriveTypeA, GetVolumePathNameA.
ORSIN_API bool ov_localpath(const char* path);

/// Writes a size as "1024 Kb", "2 Mb", "1.5 Gb" or "1.00 Tb"; each unit reaches up to 1024 of it.
///
/// @param out  At least 32 bytes.
/// @return True; false for a null `out`. Any thread.
ORSIN_API bool ov_byte_size_designation(unsigned long long bytes, char* out);

// ---------------------------------------------------------------------------------------------
// A small file as a stream
// ---------------------------------------------------------------------------------------------

/// A whole file in memory, read front to back. ov_open() makes it, ov_close() frees it; the fields
/// may be read. A null stream is at its end, and has no position. One thread at a time.
struct ov_stream {
  unsigned char* data;          ///< The contents; null when the file is empty.
  unsigned long long size;      ///< Bytes.
  unsigned long long position;  ///< Where the next read starts; may lie beyond the end.
  int end;                      ///< 1 once a read wanted more than was left, else 0.
};

/// Reads a whole file into memory and closes it again.
///
/// @param mode  As for ov_utf8_fopen(); "rb" gives the bytes as they are, "r" the text.
/// @return The caller's, until ov_close(); null when the file cannot be opened, has no length, or
///         memory is exhausted. Logs nothing.
ORSIN_API ov_stream* ov_open(const char* path, const char* mode);

/// Frees a stream. 0; -1 for null.
ORSIN_API int ov_close(ov_stream* stream);

/// Moves the position, to anywhere: nothing is clamped, and the end flag stays.
///
/// @param whence  0: to `offset`. 1: by `offset`. 2: to `offset` bytes before the end, so that a
///                positive offset goes backwards.
/// @return The new position, cut to a long; -1 for any other `whence` and a null stream.
ORSIN_API long ov_seek(ov_stream* stream, long offset, int whence);

/// The position, cut to a long; -1 for null.
ORSIN_API long ov_tell(ov_stream* stream);

/// Copies size x count bytes, or what is left; the latter sets the end flag.
///
/// @return Bytes, not elements; (size_t)-1 at the end, for elements of size 0, and when there is
///         nowhere to put them.
ORSIN_API std::size_t ov_read(void* out, std::size_t size, std::size_t count, ov_stream* stream);

/// Copies one line with its line feed, or up to a zero byte, and a terminator behind it. A line
/// that the end of the data cuts short sets the end flag.
///
/// @param out  Must hold the longest line and its terminator.
/// @param n    Below 2 gives null. Does not bound the line.
/// @return A pointer just past the terminator; null at the end and for a null `out`.
ORSIN_API char* ov_gets(char* out, int n, ov_stream* stream);

/// The end flag; 1 for null.
ORSIN_API int ov_eof(ov_stream* stream);

/// Numbers a name: "Take" becomes "Take(1)", "Take(1)" becomes "Take(2)".
///
/// @param name    Has room for the longer suffix, 13 characters and the terminator.
/// @param square  Counts in "[1]" instead.
/// @return True; false for null.
ORSIN_API bool ov_increment_suffix(char* name, bool square);
