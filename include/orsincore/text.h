/// @file
/// Text: localisation, bidirectional text, dates, hashes and encodings; the UTF conversions are in
/// utf.h.
///
/// Strings are NUL-terminated UTF-8. A null text reads as an empty one, and a null buffer takes
/// nothing; the state of a hash must not be null.
#pragma once

#include "orsincore/base.h"
#include "orsincore/utf.h"

// ---------------------------------------------------------------------------------------------
// Localisation
//
// Start-up looks for the directory "locale" (below the data path, then below the code path), reads
// the list "languages" there and the user's choice in "language.cfg", and installs one locale for
// the whole process, whose gettext catalogues of the domain "korvane" answer the calls here.
// Without that directory, or before start-up, every text reads as its identifier. A host that
// installs a std::locale of its own builds it upon that one, or its texts are no longer translated.
// The locale of the C library stays the host's.
// ---------------------------------------------------------------------------------------------

/// The translation of an identifier, which is usually the English text itself.
///
/// @param context  Tells apart equal identifiers (gettext's msgctxt); null for none.
/// @param msgid    UTF-8.
/// @return Null for null; msgid itself when it is empty, has no translation, or the lookup fails in
///         any way. A translation belongs to the catalogue and stays valid until ov_closedown().
/// Any thread after start-up; allocates nothing, never logs.
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
/// data path. The folder is made if it is missing, even when the code is then refused. The file is
/// replaced as a whole or not at all.
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

/// Adds n bytes; n of 0 or less and null data do nothing.
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

/// Adds n bytes. Adding to a finished message marks the context corrupted, as do null for n bytes
/// and a message of 2^61 bytes or more.
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

/// Adds n bytes; null data adds nothing. Returns 0.
ORSIN_API int ov_XXH64_update(XXH64_state_s* state, const void* data, std::size_t n);

/// The hash of what was added so far; more may be added after it.
ORSIN_API unsigned long long ov_XXH64_digest(const XXH64_state_s* state);

// ---------------------------------------------------------------------------------------------
// Encodings
// ---------------------------------------------------------------------------------------------

/// Decodes base64 (RFC 4648) up to the first "=" or the end.
///
/// Every character counts; one outside the alphabet contributes 0. What does not fit into dst is
/// dropped, all of it for a null dst. Returns the bytes written. Any thread.
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
/// @return dst; null for a null dst, and when the system has none to give. Any thread. Windows:
///         UuidCreate.
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
  ///
  /// The text is in the code page and the calendar of the user's locale: where these write more
  /// than ASCII, as in Korean or Bulgarian, it is no UTF-8. Windows: GetDateFormatA,
  /// GetTimeFormatA.
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
