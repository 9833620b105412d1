// Manifests of others: whatever is accepted names only places inside of its folder, each once, and
// says the same when it is written and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "examples/host/ingest/manifest.h"
#include "examples/host/ingest/manifest_reader.h"

namespace {

using namespace host::ingest;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void check_path(const std::string& path) {
  require(!path.empty() && path.front() != '/' && path.find('\\') == std::string::npos);
  require(("/" + path + "/").find("/../") == std::string::npos);
}

// Names with control characters cannot be written as XML.
bool is_writable(const std::string& path) {
  for (const char letter : path) {
    if (static_cast<unsigned char>(letter) < 0x20) {
      return false;
    }
  }
  return path != "." && path.find_first_not_of(' ') != std::string::npos;
}

void check_manifest(std::string_view text) {
  Manifest manifest;
  if (!read_manifest(text, manifest).empty()) {
    return;
  }
  std::set<std::string> paths;
  bool is_all_writable = true;
  for (const ManifestFile& file : manifest.files) {
    check_path(file.path);
    require(paths.insert(file.path).second);
    is_all_writable = is_all_writable && is_writable(file.path);
  }
  if (!is_all_writable) {
    return;
  }
  manifest.directories.clear();
  Manifest again;
  require(read_manifest(manifest_text(manifest), again).empty());
  require(again.files.size() == manifest.files.size());
  for (const ManifestFile& file : again.files) {
    require(paths.contains(file.path));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  check_manifest(text);
  check_manifest("<hashlist version=\"2.0\" xmlns=\"urn:ASC:MHL:v2.0\"><hashes>" +
                 std::string(text) + "</hashes></hashlist>");
  std::vector<ChainEntry> chain;
  if (read_chain(text, chain).empty()) {
    for (const ChainEntry& entry : chain) {
      check_path(entry.path);
    }
  }
  return 0;
}
