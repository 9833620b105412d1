// A machine's drives as the tests want them, for builds without Windows.
#include <algorithm>
#include <string>
#include <utility>

#include "files/drive_list.h"
#include "tests/platform/fake_drives.h"

namespace orsin::test {

FakeDrives& fake_drives() {
  static FakeDrives drives;
  return drives;
}

}  // namespace orsin::test

namespace orsin::port {
namespace {

const test::FakeDrive* find_drive(const unsigned short* root) {
  for (const test::FakeDrive& drive : test::fake_drives().drives) {
    if (drive.letter == static_cast<char>(root[0])) {
      return &drive;
    }
  }
  return nullptr;
}

bool write_name(const std::string& text, unsigned short* name) {
  const std::size_t length = std::min(text.size(), kDriveTextUnits - 1);
  for (std::size_t i = 0; i < length; ++i) {
    name[i] = static_cast<unsigned char>(text[i]);
  }
  name[length] = 0;
  return true;
}

}  // namespace

namespace {

std::uint32_t answer_roots(unsigned short* roots, std::uint32_t units) {
  const test::FakeDrives& fake = test::fake_drives();
  if (fake.roots_fail) {
    return 0;
  }
  const auto needed = static_cast<std::uint32_t>(fake.drives.size() * 4 + fake.padding_units);
  if (needed >= units) {
    return needed + 1;
  }
  std::size_t length = 0;
  roots[units - 1] = 0;  // The system may use all the room that it is told of.
  for (const test::FakeDrive& drive : fake.drives) {
    roots[length++] = static_cast<unsigned char>(drive.letter);
    roots[length++] = ':';
    roots[length++] = '\\';
    roots[length++] = 0;
  }
  roots[length] = 0;
  return needed;
}

}  // namespace

std::uint32_t read_drive_roots(unsigned short* roots, std::uint32_t units) noexcept {
  const std::uint32_t answer = answer_roots(roots, units);
  if (auto& job = test::fake_drives().after_roots; job) {
    std::exchange(job, nullptr)();
  }
  return answer;
}

std::uint32_t read_drive_mask() noexcept {
  std::uint32_t mask = 0;
  for (const test::FakeDrive& drive : test::fake_drives().drives) {
    mask |= 1U << (drive.letter - 'A');
  }
  return mask;
}

DriveKind read_drive_kind(const unsigned short* root) noexcept {
  const test::FakeDrive* drive = find_drive(root);
  return drive != nullptr ? drive->kind : DriveKind::kMissing;
}

bool read_volume_name(const unsigned short* root, unsigned short* name) noexcept {
  const test::FakeDrive* drive = find_drive(root);
  return drive != nullptr && write_name(drive->name, name);
}

void load_remote_names() noexcept {
  ++test::fake_drives().remote_name_loads;
}

bool read_remote_name(const unsigned short* root, unsigned short* name) noexcept {
  const test::FakeDrive* drive = find_drive(root);
  return drive != nullptr && !drive->name.empty() && write_name(drive->name, name);
}

}  // namespace orsin::port
