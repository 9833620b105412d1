// Whether a gettext catalogue (a ".mo" file) can be given to a reader that trusts it.
//
// The file, in 32-bit words of either byte order (GNU gettext manual, "The Format of GNU MO Files"):
//
//   0  magic 0x950412DE      12  offset of the table of keys           20  size of the hash table
//   4  revision              16  offset of the table of translations   24  its offset
//   8  number of messages
//
// Both tables hold a length and an offset for each message; the text there ends in a NUL that the
// length leaves out. The hash table holds message numbers from 1 on, 0 where a slot is free; the
// reader's step through it is computed modulo the size less two. The translation of the empty key
// is the header, whose rule for plural forms the reader parses recursively.
//
// A truncated or damaged file breaks one of these promises, and a reader that follows offsets
// without looking then reads anywhere.
#pragma once

#include <string_view>

namespace orsin {

/// True when every table, every text and every hash slot lies inside the file, each text is
/// terminated, and the rule for plural forms is short enough to be parsed by recursion.
[[nodiscard]] bool is_sound_catalogue(std::string_view file);

}  // namespace orsin
