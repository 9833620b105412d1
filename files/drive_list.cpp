// The list of drives with labels to show.
#include "files/drive_list.h"

#include <atomic>
#include <memory>
#include <new>

#include "files/directory_list.h"
#include "files/environment_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

constexpr std::uint32_t kRootsUnits = 132;  // 26 drives of four units, and some.
constexpr int kLetters = 26;
constexpr std::uint32_t kMaskRootsUnits = kLetters * 4 + 1;
constexpr std::size_t kTextBytes = kDriveTextUnits * 3 + 1;  // A unit takes up to three bytes.

// A text in units, cut at kDriveTextUnits with its terminator.
class WideText {
 public:
  void append(const unsigned short* text) {
    while (*text != 0 && length_ + 1 < kDriveTextUnits) {
      units_[length_++] = *text++;
    }
  }
  void append(const char* ascii) {
    while (*ascii != '\0' && length_ + 1 < kDriveTextUnits) {
      units_[length_++] = static_cast<unsigned char>(*ascii++);
    }
  }
  [[nodiscard]] const unsigned short* units() const { return units_; }

 private:
  unsigned short units_[kDriveTextUnits] = {};
  std::size_t length_ = 0;
};

// "%s (%s)"
template <typename Unit>
WideText labelled(const unsigned short* root, const Unit* label) {
  WideText text;
  text.append(root);
  text.append(" (");
  text.append(label);
  text.append(")");
  return text;
}

void add_drive(dir_list& list, const unsigned short* root, bool name_is_label) {
  WideText name;
  WideText label;
  name.append(root);
  unsigned short found[kDriveTextUnits] = {};
  switch (port::read_drive_kind(root)) {
    case port::DriveKind::kMissing:
      return;
    case port::DriveKind::kRemote:
      if (port::read_remote_name(root, found)) {
        (name_is_label ? name : label) = labelled(root, found);
      }
      break;
    case port::DriveKind::kFixed:
      label = port::read_volume_name(root, found) && found[0] != 0 ? labelled(root, found)
                                                                   : labelled(root, "Local Disk");
      break;
    case port::DriveKind::kRemovable:
      label = labelled(root, "Removable Disk");
      break;
    case port::DriveKind::kDisc:
      label = labelled(root, "CD/DVD Drive");
      break;
    case port::DriveKind::kUnknown:
    case port::DriveKind::kMemory:
      break;
  }
  char name_text[kTextBytes];
  char label_text[kTextBytes];
  ov_utf16_to_utf8(name.units(), name_text, sizeof(name_text));
  ov_utf16_to_utf8(label.units(), label_text, sizeof(label_text));
  add_directory(list, name_text, label_text, 0);
}

void add_drives(dir_list& list, const unsigned short* roots, bool name_is_label) {
  while (*roots != 0) {
    add_drive(list, roots, name_is_label);
    while (*roots != 0) {
      ++roots;
    }
    ++roots;
  }
}

// Roots made of the bits of a mask: "A:\" and so on.
void add_masked_drives(dir_list& list, bool name_is_label) {
  const std::uint32_t mask = port::read_drive_mask();
  if (mask == 0) {
    msg_os_error("Drive list 2");
    return;
  }
  unsigned short roots[kMaskRootsUnits] = {};
  std::size_t length = 0;
  for (int bit = 0; bit < kLetters; ++bit) {
    if ((mask & (1U << bit)) != 0) {
      roots[length++] = static_cast<unsigned short>('A' + bit);
      roots[length++] = ':';
      roots[length++] = '\\';
      roots[length++] = 0;
    }
  }
  add_drives(list, roots, name_is_label);
}

void read_drives(dir_list& list, bool name_is_label) {
  unsigned short few[kRootsUnits] = {};
  const std::uint32_t units = port::read_drive_roots(few, kRootsUnits);
  if (units > 0 && units < kRootsUnits) {
    add_drives(list, few, name_is_label);
    return;
  }
  if (units > 0) {
    const std::unique_ptr<unsigned short[]> many(new (std::nothrow) unsigned short[units + 1]());
    if (!many) {
      return;
    }
    const std::uint32_t read = port::read_drive_roots(many.get(), units + 1);
    if (read > 0 && read <= units) {
      add_drives(list, many.get(), name_is_label);
      return;
    }
  }
  msg_os_error("Drive list 1");
  add_masked_drives(list, name_is_label);
}

}  // namespace

void load_universal_names() {
  static std::atomic<bool> was_asked = false;
  if (was_asked.load(std::memory_order_relaxed) || was_asked.exchange(true)) {
    return;
  }
  char value[2];
  if (!port::read_environment("OV_NO_UNC", value, sizeof(value))) {
    port::load_remote_names();
  }
}

}  // namespace orsin

using namespace orsin;

dir_list* flist_mountp(bool name_is_label) {
  UniqueList list = make_list();
  if (!list) {
    return nullptr;
  }
  prepare_listing();
  read_drives(*list, name_is_label);
  return list->dir_count > 0 ? list.release() : nullptr;
}
