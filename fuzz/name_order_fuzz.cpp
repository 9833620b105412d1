// The order of file names: antisymmetric, reflexive, an order among names without extensions, and
// a sort that ends with what it was given.
//
// Input: names, each ended by a NUL.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "files/merge_sort.h"
#include "files/name_order.h"
#include "orsincore/files.h"

namespace {

int sign(int value) {
  return (value > 0) - (value < 0);
}

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void check_pair(const std::string& a, const std::string& b) {
  require(sign(file_namecmp(a.c_str(), b.c_str())) == -sign(file_namecmp(b.c_str(), a.c_str())));
  require(file_namecmp(a.c_str(), a.c_str()) == 0);
}

void check_order(const std::string& a, const std::string& b, const std::string& c) {
  for (const std::string* name : {&a, &b, &c}) {
    if (name->find('.') != std::string::npos) {
      return;
    }
  }
  if (file_namecmp(a.c_str(), b.c_str()) <= 0 && file_namecmp(b.c_str(), c.c_str()) <= 0) {
    require(file_namecmp(a.c_str(), c.c_str()) <= 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> names(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      names.emplace_back();
    } else {
      names.back() += static_cast<char>(data[i]);
    }
  }
  const std::size_t few = std::min<std::size_t>(names.size(), 8);
  for (std::size_t i = 0; i < few; ++i) {
    for (std::size_t j = 0; j < few; ++j) {
      check_pair(names[i], names[j]);
      check_order(names[i], names[j], names[(i + j) % few]);
    }
  }

  std::vector<orsin::NameKey> keys;
  for (const std::string& name : names) {
    keys.push_back(orsin::make_name_key(name.c_str()));
  }
  orsin::merge_sort(keys.data(), keys.size(), orsin::compare_names);

  std::vector<const char*> before;
  std::vector<const char*> after;
  for (std::size_t i = 0; i < names.size(); ++i) {
    before.push_back(names[i].c_str());
    after.push_back(keys[i].name);
  }
  std::sort(before.begin(), before.end());
  std::sort(after.begin(), after.end());
  require(before == after);
  return 0;
}
