#include "examples/host/ingest/manifest_reader.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>
#include <system_error>

#include <pugixml.hpp>

namespace host::ingest {
namespace {

// The document type is parsed only to be refused.
constexpr unsigned int kParse = pugi::parse_default | pugi::parse_doctype;

// Names may carry a prefix for their namespace.
std::string_view local_name(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node child(const pugi::xml_node& parent, std::string_view name) {
  for (const pugi::xml_node& node : parent.children()) {
    if (node.type() == pugi::node_element && local_name(node) == name) {
      return node;
    }
  }
  return {};
}

bool is_of_namespace(const pugi::xml_node& root, std::string_view expected) {
  const std::string_view name = root.name();
  const std::size_t colon = name.find(':');
  const std::string attribute =
      colon == std::string_view::npos ? "xmlns" : "xmlns:" + std::string(name.substr(0, colon));
  return root.attribute(attribute.c_str()).value() == expected;
}

// The root element of a document of the expected kind; else a reason.
std::string load(std::string_view text, pugi::xml_document& document, std::string_view root_name,
                 std::string_view root_namespace, pugi::xml_node& root) {
  if (text.size() > kManifestBytesMax) {
    return "it is too large";
  }
  if (text.find('\0') != std::string_view::npos) {
    return "it is no XML: a zero byte";
  }
  const pugi::xml_parse_result result =
      document.load_buffer(text.data(), text.size(), kParse, pugi::encoding_utf8);
  for (const pugi::xml_node& node : document.children()) {
    if (node.type() == pugi::node_doctype) {
      return "it has a document type, which manifests must not have";
    }
  }
  if (!result) {
    return std::string("it is no XML: ") + result.description();
  }
  root = document.document_element();
  if (local_name(root) != root_name || !is_of_namespace(root, root_namespace)) {
    return "it is another kind of XML";
  }
  return {};
}

// Relative, with slashes, and never up: nothing in a manifest names what lies outside its folder.
bool is_inside(std::string_view path) {
  if (path.empty() || path.find_first_of("\\:") != std::string_view::npos) {
    return false;
  }
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    const std::string_view part = path.substr(0, slash);
    if (part.empty() || part == "." || part == ".." || slash == path.size() - 1) {
      return false;
    }
    path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
  }
  return true;
}

template <typename Number>
std::optional<Number> number(std::string_view text) {
  Number value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stopped == end ? std::optional(value) : std::nullopt;
}

Action action_of(const pugi::xml_node& hash) {
  const std::string_view action = hash.attribute("action").value();
  if (action == "original") {
    return Action::kOriginal;
  }
  if (action == "verified") {
    return Action::kVerified;
  }
  return action == "failed" ? Action::kFailed : Action::kNone;
}

std::string read_file(const pugi::xml_node& element, ManifestFile& file) {
  const pugi::xml_node path = child(element, "path");
  file.path = path.child_value();
  if (!is_inside(file.path)) {
    return "a path leads out of the folder: '" + file.path + "'";
  }
  if (const pugi::xml_attribute size = path.attribute("size")) {
    file.size = number<std::uint64_t>(size.value());
    if (!file.size) {
      return "the size of " + file.path + " is no number";
    }
  }
  if (const pugi::xml_node hash = child(element, "xxh64")) {
    file.xxh64 = xxh64_of_hex(hash.child_value());
    file.xxh64_action = action_of(hash);
    if (!file.xxh64) {
      return "the xxh64 of " + file.path + " is none";
    }
  }
  if (const pugi::xml_node hash = child(element, "md5")) {
    file.md5 = md5_of_hex(hash.child_value());
    file.md5_action = action_of(hash);
    if (!file.md5) {
      return "the md5 of " + file.path + " is none";
    }
  }
  return {};
}

}  // namespace

std::string read_manifest(std::string_view text, Manifest& manifest) {
  pugi::xml_document document;
  pugi::xml_node root;
  if (std::string problem = load(text, document, "hashlist", "urn:ASC:MHL:v2.0", root);
      !problem.empty()) {
    return problem;
  }
  if (std::string_view(root.attribute("version").value()) != "2.0") {
    return "it is of another version than 2.0";
  }
  manifest = {};
  manifest.is_transfer =
      std::string_view(child(child(root, "processinfo"), "process").child_value()) == "transfer";
  std::set<std::string, std::less<>> paths;
  for (const pugi::xml_node& element : child(root, "hashes").children()) {
    const std::string_view name = local_name(element);
    if (name == "directoryhash") {
      ManifestDirectory directory;
      directory.path = child(element, "path").child_value();
      // Some tools list the folder itself, too.
      if (!is_inside(directory.path) && directory.path != ".") {
        return "a path leads out of the folder: '" + directory.path + "'";
      }
      manifest.directories.push_back(std::move(directory));
    } else if (name == "hash") {
      ManifestFile file;
      if (std::string problem = read_file(element, file); !problem.empty()) {
        return problem;
      }
      if (!paths.insert(file.path).second) {
        return "a path is there twice: '" + file.path + "'";
      }
      manifest.files.push_back(std::move(file));
    }
  }
  return {};
}

std::string read_chain(std::string_view text, std::vector<ChainEntry>& chain) {
  pugi::xml_document document;
  pugi::xml_node root;
  if (std::string problem =
          load(text, document, "ascmhldirectory", "urn:ASC:MHL:DIRECTORY:v2.0", root);
      !problem.empty()) {
    return problem;
  }
  chain.clear();
  for (const pugi::xml_node& element : root.children()) {
    if (element.type() != pugi::node_element || local_name(element) != "hashlist") {
      continue;
    }
    const auto sequence = number<int>(element.attribute("sequencenr").value());
    ChainEntry entry;
    entry.number = sequence.value_or(0);
    entry.path = child(element, "path").child_value();
    entry.c4 = child(element, "c4").child_value();
    if (entry.number < 1) {
      return "a generation has no number";
    }
    if (!is_inside(entry.path) || entry.path.find('/') != std::string::npos) {
      return "a path leads out of the folder: '" + entry.path + "'";
    }
    chain.push_back(std::move(entry));
  }
  std::sort(chain.begin(), chain.end(),
            [](const ChainEntry& a, const ChainEntry& b) { return a.number < b.number; });
  const auto twice = std::adjacent_find(
      chain.begin(), chain.end(),
      [](const ChainEntry& a, const ChainEntry& b) { return a.number == b.number; });
  return twice == chain.end() ? std::string() : "a generation is there twice";
}

}  // namespace host::ingest
