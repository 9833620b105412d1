#include "examples/host/ingest/history.h"

#include <algorithm>
#include <array>

#include "examples/host/ingest/manifest_reader.h"
#include "examples/host/ingest/storage.h"
#include "orsincore/files.h"
#include "orsincore/startup.h"

namespace host::ingest {
namespace {

constexpr std::string_view kNewEnd = ".new";  // As write_small_file() leaves it.

std::string manifest_folder(const std::string& folder) {
  return folder + "\\" + std::string(kManifestFolder);
}

// A run may have ended between any two steps of add_generation().
void finish_last_generation(const std::string& folder, const std::vector<ChainEntry>& chain) {
  const std::string place = manifest_folder(folder) + "\\";
  DiskLister lister;
  std::vector<Entry> entries;
  if (!lister.list(manifest_folder(folder), entries).empty()) {
    return;  // Reading the generations says why.
  }
  for (const Entry& entry : entries) {
    if (!entry.name.ends_with(kNewEnd)) {
      continue;
    }
    const std::string name = entry.name.substr(0, entry.name.size() - kNewEnd.size());
    const bool is_listed = std::any_of(chain.begin(), chain.end(),
                                       [&name](const ChainEntry& one) { return one.path == name; });
    if (is_listed && !facts_of(place + name)) {
      if (!rename_file(place + entry.name, place + name, false)) {
        return;
      }
    } else if (file_delete((place + entry.name).c_str()) != 0) {
      return;
    }
  }
}

std::string load_generation(const std::string& folder, const ChainEntry& entry, History& history) {
  const auto text = read_small_file(manifest_folder(folder) + "\\" + entry.path, kManifestBytesMax);
  if (!text) {
    return entry.path + " cannot be read: " + system_reason();
  }
  const auto digest = sha512(*text);
  if (!digest) {
    return "the system computes no SHA-512";
  }
  if (c4_of(*digest) != entry.c4) {
    return entry.path + " is not what the chain says: it was changed";
  }
  Manifest manifest;
  if (std::string problem = read_manifest(*text, manifest); !problem.empty()) {
    return entry.path + " is refused: " + problem;
  }
  for (const ManifestFile& file : manifest.files) {
    Expected& expected = history.expected[file.path];
    if (!expected.xxh64 && file.xxh64_action != Action::kFailed) {
      expected.xxh64 = file.xxh64;
    }
    if (!expected.md5 && file.md5_action != Action::kFailed) {
      expected.md5 = file.md5;
    }
    if (!expected.size && file.xxh64_action != Action::kFailed &&
        file.md5_action != Action::kFailed) {
      expected.size = file.size;
    }
  }
  return {};
}

}  // namespace

std::string load_history(const std::string& folder, History& history) {
  const std::string path = manifest_folder(folder) + "\\" + std::string(kChainName);
  if (!facts_of(path)) {
    finish_last_generation(folder, {});
    return {};
  }
  const auto text = read_small_file(path, kManifestBytesMax);
  if (!text) {
    return std::string(kChainName) + " cannot be read: " + system_reason();
  }
  if (std::string problem = read_chain(*text, history.chain); !problem.empty()) {
    return std::string(kChainName) + " is refused: " + problem;
  }
  finish_last_generation(folder, history.chain);
  for (const ChainEntry& entry : history.chain) {
    if (std::string problem = load_generation(folder, entry, history); !problem.empty()) {
      return problem;
    }
  }
  return {};
}

std::string host_name() {
  std::array<char, 256> name = {};
  ov_computername(name.data(), name.size());
  return name.data();
}

std::string add_generation(const std::string& folder, const std::string& folder_name,
                           const History& history, const Manifest& manifest, std::string& name) {
  const std::string text = manifest_text(manifest);
  const auto digest = sha512(text);
  if (!digest) {
    return "the system computes no SHA-512";
  }
  const std::string place = manifest_folder(folder);
  if (file_is_directory(place.c_str()) == 0 && file_create_directory(place.c_str(), false) < 0) {
    return "cannot make " + place + ": " + system_reason();
  }
  std::vector<ChainEntry> chain = history.chain;
  const int number = chain.empty() ? 1 : chain.back().number + 1;
  name = manifest_name(number, folder_name, manifest.created);
  chain.push_back({number, name, c4_of(*digest)});
  // A manifest has its name only when the chain lists it; should the run end in between, the next
  // one that looks gives it the name.
  const std::string manifest_path = place + "\\" + name;
  const std::string growing = manifest_path + std::string(kNewEnd);
  if (!write_small_file(growing, text) ||
      !write_small_file(place + "\\" + std::string(kChainName), chain_text(chain)) ||
      !rename_file(growing, manifest_path, false)) {
    return "cannot write the manifest: " + system_reason();
  }
  return {};
}

}  // namespace host::ingest
