#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "examples/host/ingest/directory_hashes.h"
#include "examples/host/ingest/manifest.h"
#include "examples/host/ingest/utc_text.h"
#include "examples/host/markup.h"

namespace host::ingest {
namespace {

constexpr std::string_view kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string time_attribute(std::string_view name, std::uint64_t ticks) {
  return ticks == 0 ? std::string() : " " + std::string(name) + "=\"" + iso_time(ticks) + "\"";
}

std::string hash_element(std::string_view format, const std::string& value, Action action,
                         std::uint64_t hash_time) {
  constexpr std::string_view kActions[] = {"", "original", "verified", "failed"};
  std::string element = "      <" + std::string(format);
  if (action != Action::kNone) {
    element += " action=\"" + std::string(kActions[static_cast<std::size_t>(action)]) + "\"";
  }
  return element + time_attribute("hashdate", hash_time) + ">" + value + "</" +
         std::string(format) + ">\n";
}

std::string file_element(const ManifestFile& file) {
  std::string text = "    <hash>\n      <path";
  if (file.size) {
    text += " size=\"" + std::to_string(*file.size) + "\"";
  }
  text += time_attribute("lastmodificationdate", file.write_time) + ">" + escaped(file.path) +
          "</path>\n";
  if (file.md5) {
    text += hash_element("md5", hex(*file.md5), file.md5_action, file.hash_time);
  }
  if (file.xxh64) {
    text += hash_element("xxh64", hex(*file.xxh64), file.xxh64_action, file.hash_time);
  }
  return text + "    </hash>\n";
}

std::string both_hashes(const DirectoryHashes& hashes, const std::string& indent,
                        const std::string& attributes) {
  const auto one = [&](const std::string& name, std::uint64_t value) {
    return indent + "<" + name + ">\n" + indent + "  <xxh64" + attributes + ">" + hex(value) +
           "</xxh64>\n" + indent + "</" + name + ">\n";
  };
  return one("content", hashes.content) + one("structure", hashes.structure);
}

// A key that sorts a walk: a folder's name is followed by something behind every name below it.
std::string walk_key(std::string path, bool is_directory) {
  std::replace(path.begin(), path.end(), '/', '\x01');
  return is_directory ? path + "\x01\xFF" : path;
}

std::map<std::string, DirectoryHashes> directory_hashes(const Manifest& manifest) {
  std::map<std::string, std::uint64_t> files;
  std::vector<std::string> directories;
  for (const ManifestFile& file : manifest.files) {
    if (file.xxh64) {
      files[file.path] = *file.xxh64;
    }
  }
  for (const ManifestDirectory& directory : manifest.directories) {
    directories.push_back(directory.path);
  }
  return hash_directories(files, directories);
}

std::string hashes_element(const Manifest& manifest,
                           const std::map<std::string, DirectoryHashes>& hashes) {
  std::map<std::string, std::string> elements;
  for (const ManifestFile& file : manifest.files) {
    elements[walk_key(file.path, false)] = file_element(file);
  }
  for (const ManifestDirectory& directory : manifest.directories) {
    elements[walk_key(directory.path, true)] =
        "    <directoryhash>\n      <path" +
        time_attribute("lastmodificationdate", directory.write_time) + ">" +
        escaped(directory.path) + "</path>\n" +
        both_hashes(hashes.at(directory.path), "      ",
                    time_attribute("hashdate", manifest.created)) +
        "    </directoryhash>\n";
  }
  std::string text;
  for (const auto& [key, element] : elements) {
    text += element;
  }
  return text.empty() ? text : "  <hashes>\n" + text + "  </hashes>\n";
}

}  // namespace

bool is_ignored(std::string_view path) {
  const std::string_view first = path.substr(0, path.find('/'));
  const std::string_view last = path.substr(path.rfind('/') + 1);
  return first == kManifestFolder || last == ".DS_Store";
}

std::string manifest_name(int number, const std::string& folder_name, std::uint64_t created) {
  char digits[16];
  std::snprintf(digits, sizeof(digits), "%04d", number);
  return std::string(digits) + "_" + folder_name + "_" + file_name_time(created) + ".mhl";
}

std::string manifest_text(const Manifest& manifest) {
  const auto hashes = directory_hashes(manifest);
  std::string text(kHead);
  text += "<hashlist version=\"2.0\" xmlns=\"urn:ASC:MHL:v2.0\">\n";
  text += "  <creatorinfo>\n    <creationdate>" + iso_time(manifest.created) +
          "</creationdate>\n    <hostname>" + escaped(manifest.host_name) +
          "</hostname>\n    <tool version=\"1.0.0\">OrsinCore host</tool>\n  </creatorinfo>\n";
  text += std::string("  <processinfo>\n    <process>") +
          (manifest.is_transfer ? "transfer" : "in-place") + "</process>\n    <roothash>\n" +
          both_hashes(hashes.at(""), "      ", time_attribute("hashdate", manifest.created)) +
          "    </roothash>\n    <ignore>\n      <pattern>.DS_Store</pattern>\n"
          "      <pattern>ascmhl</pattern>\n      <pattern>ascmhl/</pattern>\n"
          "    </ignore>\n  </processinfo>\n";
  return text + hashes_element(manifest, hashes) + "</hashlist>\n";
}

std::string chain_text(const std::vector<ChainEntry>& chain) {
  std::string text(kHead);
  text += "<ascmhldirectory xmlns=\"urn:ASC:MHL:DIRECTORY:v2.0\">\n";
  for (const ChainEntry& entry : chain) {
    text += "  <hashlist sequencenr=\"" + std::to_string(entry.number) + "\">\n    <path>" +
            escaped(entry.path) + "</path>\n    <c4>" + entry.c4 + "</c4>\n  </hashlist>\n";
  }
  return text + "</ascmhldirectory>\n";
}

}  // namespace host::ingest
