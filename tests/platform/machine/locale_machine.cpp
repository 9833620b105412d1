// The library that makes locales, on a simulated machine: it takes a catalogue from the disk, and has
// texts as long as the locale is installed.
//
// A catalogue is lines of "Open=Otworz" here: its real form is nobody's but the real library's.
#include <map>
#include <memory>
#include <string>

#include "tests/platform/locale_parts.h"
#include "tests/platform/machine/machine.h"
#include "text/locale_port.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

using Texts = std::map<std::string, std::string>;

std::unique_ptr<const Texts> installed;

// None where the catalogue is missing or cannot be read: the locale is one without texts.
Texts read_catalogue(const std::string& path) {
  Call call("read catalogue");
  Texts texts;
  const auto node = machine().disk.find(path);
  if (node == nullptr || call.is_refused({kErrorAccessDenied, kErrorSharingViolation})) {
    return texts;
  }
  const std::string text = node->content.text();
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    const std::size_t sign = text.find('=', begin);
    texts[text.substr(begin, sign - begin)] = text.substr(sign + 1, end - sign - 1);
    begin = end + 1;
  }
  return texts;
}

}  // namespace

void select_locale_maker() noexcept {}

bool install_locale(const char* path, const char* domain, const char* name,
                    LocaleParts& parts) noexcept {
  Call call("install locale");
  if (call.is_refused({kErrorNotEnoughMemory})) {
    return false;
  }
  parts = parts_of(name);
  installed = std::make_unique<const Texts>(read_catalogue(
      std::string(path) + "\\" + shown_locale_name(parts) + "\\LC_MESSAGES\\" + domain + ".mo"));
  return true;
}

void remove_locale() noexcept {
  Call call("remove locale");
  installed.reset();
}

const char* translate(const char* context, const char* msgid) noexcept {
  Call call("translate");
  if (!installed) {
    return nullptr;
  }
  const auto found =
      installed->find((context != nullptr ? std::string(context) + "|" : "") + msgid);
  return found != installed->end() ? found->second.c_str() : nullptr;
}

}  // namespace orsin::port
