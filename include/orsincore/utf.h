/// @file
/// UTF-8, UTF-16 and UTF-32: reading, editing and converting texts, and C streams by UTF-8 names.
///
/// Strings are NUL-terminated. A character index counts code points, a byte offset counts bytes.
/// UTF-8 that cannot be decoded is read as Latin-1, one byte a character, so decoding never fails.
/// A null text reads as an empty one, and a null buffer takes nothing, except where a function works
/// on a single character: what those are given, positions included, must not be null.
#pragma once

#include <cstdio>

#include "orsincore/base.h"

// ---------------------------------------------------------------------------------------------
// UTF-8. No function here allocates, keeps state or logs. Any thread.
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

/// 1 if the whole string is strict UTF-8 (three-byte surrogate values included), else 0; 0 for null.
ORSIN_API int ov_utf8_is_valid(const char* s);

/// Cuts the string at its first invalid sequence. Returns it. A valid string is not written to.
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
/// The same for units that a byte pointer leads to; still characters.
ORSIN_API std::size_t ov_utf16_strlen(const char* s);

/// As ov_utf8_get_code_point(); *pos counts units.
ORSIN_API int ov_utf16_get_code_point(const unsigned short* s, std::size_t* pos);
/// The same; *pos counts bytes, and is rounded down to even.
ORSIN_API int ov_utf16_get_code_point(const char* s, std::size_t* pos);

ORSIN_API int ov_utf16_get_num_for_code_point(int cp);        ///< Units: 1 or 2.
ORSIN_API int ov_utf16_get_num_bytes_for_code_point(int cp);  ///< Bytes: 2 or 4.

/// Writes one character without a terminator; n and the result count units. 0 if it does not fit.
ORSIN_API int ov_utf16_encode(int cp, unsigned short* dst, std::size_t n);
/// The same; n and the result count bytes.
ORSIN_API int ov_utf16_encode(int cp, char* dst, std::size_t n);

// ---------------------------------------------------------------------------------------------
// Conversions. Each returns dst, which is always terminated.
//
// Whole characters are written while they fit, the terminator by the same rule; what lies between
// stays as it was. Then the last element of dst becomes 0 in any case: when the characters fill dst
// to the end, that cuts the last one. With n = 0 or a null dst nothing is written; a null src gives
// an empty dst. Source and destination must not overlap. Any thread.
// ---------------------------------------------------------------------------------------------

/// From UTF-16.
/// @param n  Bytes of dst.
ORSIN_API char* ov_utf16_to_utf8(const unsigned short* src, char* dst, std::size_t n);
/// From UTF-16 that a byte pointer leads to.
/// @param n  Bytes of dst.
ORSIN_API char* ov_utf16_to_utf8(const char* src, char* dst, std::size_t n);
/// From UTF-32.
/// @param n  Bytes of dst.
ORSIN_API char* ov_utf32_to_utf8(const unsigned int* src, char* dst, std::size_t n);

/// To UTF-16.
/// @param n  Elements of dst.
ORSIN_API unsigned short* ov_utf8_to_utf16(const char* src, unsigned short* dst, std::size_t n);
/// To UTF-16 that a byte pointer leads to.
/// @param n  Bytes of dst.
ORSIN_API char* ov_utf8_to_utf16(const char* src, char* dst, std::size_t n);
/// To UTF-32.
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

/// UTF-8 to Latin-1, at most n - 2 characters. A null src gives an empty dst; dst may be src.
ORSIN_API const char* ov_utf8_to_byte(char* dst, std::size_t n, const char* src);

/// Latin-1 to UTF-8. A null src gives an empty dst. The two must not overlap: text grows.
ORSIN_API const char* ov_byte_to_utf8(char* dst, std::size_t n, const char* src);

/// Copies at most n - 2 bytes; control characters other than line feed and carriage return become
/// blanks. A null src gives an empty dst; dst may be src.
ORSIN_API const char* validate_ascii_xml_text(char* dst, std::size_t n, const char* src);

/// Opens a stream by UTF-8 name. Names are cut at 259 UTF-16 units, modes at 31. Null when that
/// fails; nothing is logged, errno says why.
/// Windows: _wfopen, _wfreopen.
ORSIN_API std::FILE* ov_utf8_fopen(const char* name, const char* mode);
/// The same for a stream that is open already.
ORSIN_API std::FILE* ov_utf8_freopen(const char* name, const char* mode, std::FILE* stream);
