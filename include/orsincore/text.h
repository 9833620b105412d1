/// @file
/// Text: UTF conversions and editing, localisation, bidirectional text, dates, hashes and
/// encodings.
///
/// Strings are NUL-terminated. A character index counts code points, a byte offset counts bytes.
/// UTF-8 that cannot be decoded is read as Latin-1, one byte a character, so decoding never fails.
#pragma once

#include <cstdio>

#include "orsincore/base.h"

// ---------------------------------------------------------------------------------------------
// UTF-8. No function here allocates, keeps state, logs or accepts null unless it says so. Any
// thread.
//
// Decoding accepts the sequences of RFC 3629, and three-byte surrogate values; anything else is one
// Latin-1 character of one byte. Encoding takes any value below 0x200000.
// ---------------------------------------------------------------------------------------------

/// The number of characters.
ORSIN_API std::size_t ov_utf8_strlen(const char* s);

/// Decodes the character at byte *pos and moves *pos past it, except at the end: there the result
/// is 0 and *pos stays.
ORSIN_API int ov_utf8_get_code_point(const char* s, std::size_t* pos);

/// Steps back one character from byte *pos and decodes it; 0, with *pos left alone, at the
/// beginning. Looks for a lead byte up to four bytes back; without one the byte before *pos is the
/// character.
ORSIN_API int ov_utf8_get_code_point_rev(const char* s, std::size_t* pos);

/// Bytes of the next `count` characters from byte `start`, or up to the end of the string; 0 for a
/// count below 1.
ORSIN_API std::size_t ov_utf8_get_num_bytes(const char* s, std::size_t start, int count);

/// 1 to 4; 0 for a value of 0x200000 or more. Negative values take 1.
ORSIN_API int ov_utf8_get_num_bytes_for_code_point(int cp);

/// Writes one character without a terminator.
///
/// @param n  Bytes free at dst.
/// @return The bytes written; 0, with nothing written, if it does not fit or cannot be encoded.
ORSIN_API int ov_utf8_encode(int cp, char* dst, std::size_t n);

/// Inserts one character at a character index; past the end it is appended.
///
/// @param n  Bytes of the whole buffer.
/// @return The bytes inserted; 0, with nothing changed, if they do not fit.
ORSIN_API int ov_utf8_insert_char(char* s, std::size_t n, int index, int cp);

/// Removes up to `count` characters from a character index on. Returns the bytes removed; 0 when
/// the index lies at or past the end.
ORSIN_API std::size_t ov_utf8_erase(char* s, int index, int count);

/// Inserts as many whole characters of `ins` as fit at a character index; past the end they are
/// appended. Returns the bytes inserted.
///
/// @param n  Bytes of the whole buffer.
ORSIN_API std::size_t ov_utf8_insert(char* s, std::size_t n, int index, const char* ins);

/// 1 if the whole string is strict UTF-8 (three-byte surrogate values included), else 0.
ORSIN_API int ov_utf8_is_valid(const char* s);

/// Cuts the string at its first invalid sequence. Returns it.
ORSIN_API char* ov_utf8_validate(char* s);

// ---------------------------------------------------------------------------------------------
// UTF-16
//
// Surrogates are paired without the standard's offset of 0x10000, in both directions: U+10000 is
// 0xD840 0xDC00. Text written by the library reads back unchanged. The overloads with char*
// pointers take the same data and measure it in bytes.
// ---------------------------------------------------------------------------------------------

/// The number of characters; a high surrogate and a low one behind it are one.
ORSIN_API std::size_t ov_utf16_strlen(const unsigned short* s);
ORSIN_API std::size_t ov_utf16_strlen(const char* s);  ///< @overload

/// As ov_utf8_get_code_point(); *pos counts units, or bytes (rounded down to even).
ORSIN_API int ov_utf16_get_code_point(const unsigned short* s, std::size_t* pos);
ORSIN_API int ov_utf16_get_code_point(const char* s, std::size_t* pos);  ///< @overload

ORSIN_API int ov_utf16_get_num_for_code_point(int cp);        ///< Units: 1 or 2.
ORSIN_API int ov_utf16_get_num_bytes_for_code_point(int cp);  ///< Bytes: 2 or 4.

/// Writes one character without a terminator; n and the result count units, or bytes. 0 if it does
/// not fit.
ORSIN_API int ov_utf16_encode(int cp, unsigned short* dst, std::size_t n);
ORSIN_API int ov_utf16_encode(int cp, char* dst, std::size_t n);  ///< @overload

// ---------------------------------------------------------------------------------------------
// Conversions. Each returns dst, which is always terminated.
//
// Whole characters are written while they fit, the terminator by the same rule; what lies between
// stays as it was. Then the last element of dst becomes 0 in any case: when the characters fill dst
// to the end, that cuts the last one. With n = 0 nothing is written. Source and destination must
// not overlap. Any thread.
// ---------------------------------------------------------------------------------------------

/// @param n  Bytes of dst.
ORSIN_API char* ov_utf16_to_utf8(const unsigned short* src, char* dst, std::size_t n);
/// @overload
ORSIN_API char* ov_utf16_to_utf8(const char* src, char* dst, std::size_t n);
/// @param n  Bytes of dst.
ORSIN_API char* ov_utf32_to_utf8(const unsigned int* src, char* dst, std::size_t n);

/// @param n  Elements of dst; bytes where dst is a char*.
ORSIN_API unsigned short* ov_utf8_to_utf16(const char* src, unsigned short* dst, std::size_t n);
/// @overload
ORSIN_API char* ov_utf8_to_utf16(const char* src, char* dst, std::size_t n);
/// @param n  Elements of dst.
ORSIN_API unsigned int* ov_utf8_to_utf32(const char* src, unsigned int* dst, std::size_t n);

#if defined(_WIN32)
/// From a wide string.
/// @param n  Bytes of dst.
ORSIN_API char* ov_wchar_to_utf8(const wchar_t* src, char* dst, std::size_t n);
/// To a wide string.
/// @param n  Units of dst.
ORSIN_API wchar_t* ov_utf8_to_wchar_n(const char* src, wchar_t* dst, std::size_t n);
/// To a wide string.
/// @param n  Bytes of dst.
ORSIN_API wchar_t* ov_utf8_to_wchar_s(const char* src, wchar_t* dst, std::size_t n);
#endif

/// UTF-8 to Latin-1, at most n - 2 characters. A null src gives an empty dst.
ORSIN_API const char* ov_utf8_to_byte(char* dst, std::size_t n, const char* src);

/// Latin-1 to UTF-8. A null src gives an empty dst.
ORSIN_API const char* ov_byte_to_utf8(char* dst, std::size_t n, const char* src);

/// Copies at most n - 2 bytes; control characters other than line feed and carriage return become
/// blanks. A null src gives an empty dst.
ORSIN_API const char* validate_ascii_xml_text(char* dst, std::size_t n, const char* src);

/// Opens a stream by UTF-8 name. Names are cut at 259 UTF-16 units, modes at 31. Null when that
/// fails; nothing is logged, errno says why.
/// Windows: _wfopen, _wfreopen.
ORSIN_API std::FILE* ov_utf8_fopen(const char* name, const char* mode);
/// The same for a stream that is open already.
ORSIN_API std::FILE* ov_utf8_freopen(const char* name, const char* mode, std::FILE* stream);

// ---------------------------------------------------------------------------------------------
// Localisation
//
// Start-up looks for the directory "locale" (below the data path, then below the code path), reads
// the list "languages" there and the user's choice in "language.cfg", and installs one locale for
// the whole process, whose gettext catalogues of the domain "korvane" answer the calls here.
// Without that directory, or before start-up, every text reads as its identifier.
// ---------------------------------------------------------------------------------------------

/// The translation of an identifier, which is usually the English text itself.
///
/// @param context  Tells apart equal identifiers (gettext's msgctxt); null for none.
/// @param msgid    UTF-8.
/// @return Null for null; msgid itself when it is empty, has no translation, or the lookup fails in
///         any way. A translation belongs to the catalogue and stays valid until ov_closedown().
/// Any thread after start-up; takes no lock, allocates nothing, never logs.
ORSIN_API const char* ov_pgettext(const char* context, const char* msgid);

/// The same without a context.
ORSIN_API const char* ov_pgettext(const char* msgid);

/// True, whatever the context.
ORSIN_API bool ov_is_default_context(const char* context);

/// The name of the current locale: language, "_" and country, "@" and variant, the last two only
/// where there are any ("de_DE", "sr_RS@latin"). Empty until start-up has applied a locale.
///
/// @return The library's own text, not to be freed; constant until ov_closedown(). Any thread.
ORSIN_API const char* ov_locale_get();

/// Writes the language for the next start into "language.cfg" in the folder "Settings" below the
/// data path. The folder is made if it is missing, even when the code is then refused.
///
/// @param code  A locale's code as the list of languages has it, such as "sr_RS@latin".
/// @return True after writing; false for a null or empty code, or when the folder or the file
///         cannot be written. Logs only what making the folder logs. One thread at a time.
ORSIN_API bool ov_save_language_cfg(const char* code);

// ---------------------------------------------------------------------------------------------
// Bidirectional text
// ---------------------------------------------------------------------------------------------

/// A text of left-to-right and right-to-left scripts as it is drawn: its visual order, with Arabic
/// letters joined and brackets mirrored, and where carets and selections fall in it.
///
/// Positions count characters of the text as decoded above, from 0 to its length; a caret position
/// is the gap before the character of that index. Each line (up to a line feed) is reordered on its
/// own, and the line feeds stay where they are; all lines share one paragraph direction, which is
/// never guessed. Visual positions count from the left of each line.
///
/// The text is analysed by the first query after SetText(), once. Where that fails, because there
/// is no text, it is empty or memory is short, every query answers as for plain left-to-right text.
/// Nothing is logged. The working memory is kept from text to text and only grows.
///
/// One thread at a time; separate objects are independent. The order of the virtual functions is
/// part of the interface. The algorithm is that of Unicode Annex 9, in GNU FriBidi.
class ORSIN_API OvBidi {
 public:
  /// @cond only Create() and Destroy() begin and end an object
  OvBidi() = default;
  OvBidi(const OvBidi&) = default;  // Copying the interface copies nothing of the text.
  OvBidi& operator=(const OvBidi&) = default;
  /// @endcond

  /// A new object without a text, left-to-right; release it by Destroy(). Null when memory is
  /// short.
  static OvBidi* Create();
  static OvBidi* Create(const char* text);  ///< The same, with SetText(text).

  /// Releases the object and all of its memory. Does nothing for null.
  static void Destroy(OvBidi* bidi);

  /// The paragraph direction: 0 left-to-right, otherwise right-to-left. A text that has been
  /// analysed keeps its direction; the new one counts from the next SetText() on.
  virtual void SetRightToLeft(int rtl) = 0;
  virtual int GetRightToLeft() = 0;  ///< What SetRightToLeft() was given; 0 at first.

  /// Sets the text. It is not copied: the caller keeps it alive and unchanged as long as it is
  /// asked about. Null means no text.
  virtual void SetText(const char* text) = 0;

  /// The text in visual order; the caller's own pointer where nothing had to be reordered. It
  /// belongs to the object and stays valid until the next SetText().
  ///
  /// A ligature keeps the number of characters: U+FEFF fills the place of its first letter.
  virtual const char* GetVisualText() = 0;

  /// Whether anything in the text runs from right to left, numbers in such text included.
  virtual bool HasRightToLeft() = 0;

  /// The visual caret position of a logical one: behind the character before it, or, for position
  /// 0, in front of the first. Positions outside the text are moved to its ends.
  virtual int LogicalToVisual(int logical_pos) = 0;

  /// The logical caret position of a visual one: at that edge of the character drawn to its left,
  /// or to its right in a right-to-left paragraph. Positions outside are moved to the ends.
  virtual int VisualToLogical(int visual_pos) = 0;

  /// Selects the characters from start up to, not including, end, and restarts NextSelectionRun().
  /// Nothing is selected where they are equal or either is negative; nor, in reordered text, where
  /// the end lies before the start.
  virtual void SetSelection(int start, int end) = 0;

  /// The next run of selected characters that stand side by side, from the left: first position and
  /// the one behind the last. False, with both untouched, when there are no more.
  ///
  /// Text that is not reordered has one run, just as it was given to SetSelection().
  virtual bool NextSelectionRun(int* start, int* end) = 0;

  /// @cond only Create() and Destroy() begin and end an object
 protected:
  ~OvBidi() = default;  // Not virtual, and out of reach: objects go through Destroy().
  /// @endcond
};

// ---------------------------------------------------------------------------------------------
// Hashes. Each context belongs to its caller; one thread at a time.
// ---------------------------------------------------------------------------------------------

/// MD5 (RFC 1321).
struct md5_state_s {
  unsigned int count[2];  ///< Message length in bits, low word first.
  unsigned int abcd[4];   ///< The running digest.
  unsigned char buf[64];  ///< The partial block.
};

/// Begins a message. Every function here needs it first.
ORSIN_API void ov_md5_init(md5_state_s* state);

/// Adds n bytes; n of 0 or less does nothing.
ORSIN_API void ov_md5_append(md5_state_s* state, const unsigned char* data, int n);

/// Ends the message and stores its digest, which the state's words then hold as well.
ORSIN_API void ov_md5_finish(md5_state_s* state, unsigned char digest[16]);

/// SHA-1 (FIPS 180-1).
struct SHA1Context {
  unsigned int Message_Digest[5];   ///< After ov_SHA1Result() the digest, in host order.
  unsigned int Length_Low;          ///< Message length in bits.
  unsigned int Length_High;         ///< The upper half of it.
  unsigned char Message_Block[64];  ///< The partial block.
  int Message_Block_Index;          ///< Bytes used in it.
  int Computed;                     ///< 1 once the digest is final.
  int Corrupted;                    ///< 1 after a misuse or a length overflow.
};

/// Begins a message, also after a misuse.
ORSIN_API void ov_SHA1Reset(SHA1Context* context);

/// Adds n bytes. Adding to a finished message marks the context corrupted, as does a message of
/// 2^61 bytes or more.
ORSIN_API void ov_SHA1Input(SHA1Context* context, const unsigned char* data, unsigned int n);

/// Ends the message; its digest is in Message_Digest. 1, also when it was ended before, or 0 for a
/// corrupted context.
ORSIN_API int ov_SHA1Result(SHA1Context* context);

/// XXH64 (the xxHash library), 88 bytes of state.
struct XXH64_state_s;

/// A state with undefined contents, to reset first; null when memory is exhausted.
ORSIN_API XXH64_state_s* ov_XXH64_createState();
/// Returns 0. Null does nothing.
ORSIN_API int ov_XXH64_freeState(XXH64_state_s* state);
/// Copies all 88 bytes.
ORSIN_API void ov_XXH64_copyState(XXH64_state_s* dst, const XXH64_state_s* src);

/// Compares all 88 bytes: 0 when equal, else signed as memcmp().
ORSIN_API int ov_XXH64_compareState(const XXH64_state_s* a, const XXH64_state_s* b);

/// Begins a message. Returns 0.
ORSIN_API int ov_XXH64_reset(XXH64_state_s* state, unsigned long long seed);

/// Adds n bytes. Returns 0.
ORSIN_API int ov_XXH64_update(XXH64_state_s* state, const void* data, std::size_t n);

/// The hash of what was added so far; more may be added after it.
ORSIN_API unsigned long long ov_XXH64_digest(const XXH64_state_s* state);

// ---------------------------------------------------------------------------------------------
// Encodings
// ---------------------------------------------------------------------------------------------

/// Decodes base64 (RFC 4648) up to the first "=" or the end.
///
/// Every character counts; one outside the alphabet contributes 0. What does not fit into dst is
/// dropped. Returns the bytes written. Any thread.
ORSIN_API std::size_t ov_base64_decode(const char* src, std::size_t src_len, void* dst,
                                       std::size_t dst_size);

/// The same on every processor, for text without "=" before its end.
///
/// @return The length that src decodes to without its trailing "=", even when dst is smaller.
/// Any thread that is not a worker of the executor.
ORSIN_API std::size_t ov_base64_decode_mt(const char* src, std::size_t src_len, void* dst,
                                          std::size_t dst_size);

/// Writes a new random UUID, 36 characters in lower case padded with NULs to 64 bytes.
///
/// @param dst  At least 64 bytes.
/// @return dst; null when the system has none to give. Any thread. Windows: UuidCreate.
ORSIN_API const char* ov_create_uuid(char* dst);

// ---------------------------------------------------------------------------------------------
// Dates
// ---------------------------------------------------------------------------------------------

/// A calendar date with a time of day, proleptic Gregorian, without a time zone of its own.
///
/// A plain value: no allocation, no shared state. Numbers and texts convert to it, and it to POSIX
/// time, wherever one is expected.
class ORSIN_API date {
 public:
  date();                 ///< Now, local time.
  date(long long posix);  ///< The local time of seconds since 1970 UTC.
  date(int year, int month, int day, char hour, char minute, char second);  ///< Stored unchecked.
  date(const char* text);             ///< As scan(text, "%c", null); now if empty or null.
  date(const date& other) = default;  ///< As it is.
  date& operator=(const date& other) = default;  ///< As it is.

  void reset();  ///< To now, local time.

  [[nodiscard]] static bool leapyear(int y);             ///< By the Gregorian rule.
  [[nodiscard]] static int max_month_day(int y, int m);  ///< Days of a month from 1 to 12, else 0.
  [[nodiscard]] static long year2days(long y);           ///< Days before 1 January of year y.
  [[nodiscard]] int max_year_day() const;                ///< 365 or 366.

  /// The day of the year, from 1; -1 when there is no such day.
  [[nodiscard]] int julian(int y, int m, int d) const;

  [[nodiscard]] int year() const { return year_; }          ///< With the century.
  [[nodiscard]] int month() const { return month_; }        ///< From 1.
  [[nodiscard]] int day() const { return day_; }            ///< Of the month, from 1.
  [[nodiscard]] int year_day() const { return year_day_; }  ///< From 1.
  [[nodiscard]] long dow() const { return days_; }  ///< The day number; 1 is 1 January of year 1.
  [[nodiscard]] int week_day() const;               ///< 1 is Sunday, 7 Saturday.

  /// English, such as "Tuesday" or "Tue".
  [[nodiscard]] const char* day_name(bool abbreviated) const;
  [[nodiscard]] const char* month_name(bool abbreviated) const;  ///< Null for no month.

  /// Moves by whole days, keeping the time of day; at most 24855 either way. Returns 0.
  int add_days(long n);

  /// The user's short date, with the user's time if asked for. `out`: at least 260 bytes.
  void format(char* out, bool with_time) const;
  void format_xml(char* out, bool with_time) const;  ///< "2024-03-05T08:07:09"
  void format_num(char* out, bool with_time) const;  ///< "20240305_080709"

  /// Reads text by a pattern of "%" directives, as strptime() does, into this date.
  ///
  /// @param pattern  Null means "%c", which is "%d-%m-%Y %H:%M:%S".
  /// @param extra    Receives what %G and %O add; may be null.
  /// @return The rest of the text; null at a mismatch, with the fields read so far changed.
  char* scan(const char* text, const char* pattern, int* extra);
  /// Reads what format_xml() writes.
  void scan_xml(const char* text, bool with_time);

  /// Seconds since 1970 UTC of the date read as local standard time.
  operator long long() const;

  /// Whether day and time of day are equal.
  [[nodiscard]] bool operator==(const date& other) const;
  /// Whether day or time of day differ.
  [[nodiscard]] bool operator!=(const date& other) const { return !(*this == other); }

  /// The difference in days; the leap day of the dates' own years is not counted.
  [[nodiscard]] int operator-(const date& other) const;

 protected:
  [[nodiscard]] long cmp(date* other) const;  ///< The difference of the day numbers.

 private:
  friend struct date_fields;
  void init(long long posix);
  void compute_days();

  std::int32_t days_ = 0;
  std::int32_t year_day_ = 0;
  std::int32_t year_ = 0;
  std::int32_t month_ = 0;
  std::int32_t day_ = 0;
  signed char hour_ = 0;
  signed char minute_ = 0;
  signed char second_ = 0;
};
