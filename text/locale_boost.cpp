// The locale port over Boost.Locale, the only file that sees it. Nothing it throws gets past here.
//
// Boost.Locale follows the offsets in a catalogue without looking where they lead. So catalogues are
// not left to it as files: they are read and checked here first, and handed over as bytes.
#include <boost/locale/generator.hpp>
#include <boost/locale/gnu_gettext.hpp>
#include <boost/locale/info.hpp>
#include <boost/locale/localization_backend.hpp>
#include <boost/locale/message.hpp>

#include <clocale>
#include <locale>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "text/catalogue_check.h"
#include "text/locale_port.h"
#include "text/whole_file.h"

namespace orsin::port {
namespace {

namespace bl = boost::locale;
using Messages = bl::message_format<char>;

// The locale that was installed, its texts if it has any, and the one before it. Written while one
// thread runs.
//
// Texts come from the process's locale at the time of the call, which the host may have changed. But
// finding a facet takes a dynamic cast, half of a translation's time, and nearly always the locale
// is still ours: then its facet is known.
struct InstalledLocale {
  std::locale ours;
  const Messages* messages;
  std::locale before;
};

constinit InstalledLocale* installed = nullptr;

const Messages* find_messages(const std::locale& locale) {
  return std::has_facet<Messages>(locale) ? &std::use_facet<Messages>(locale) : nullptr;
}

// Where the locale has a name, the standard library also gives it to the C library, whose locale
// belongs to the host.
void set_process_locale(const std::locale& locale) {
  const std::string host = std::setlocale(LC_ALL, nullptr);
  std::locale::global(locale);
  std::setlocale(LC_ALL, host.c_str());
}

std::vector<char> read_sound_catalogue(const std::string& path) {
  std::vector<char> bytes = read_whole_file(path.c_str()).value_or(std::vector<char>());
  if (!is_sound_catalogue({bytes.data(), bytes.size()})) {
    bytes.clear();  // Absent: the reader tries the next, more general one.
  }
  return bytes;
}

// A catalogue that cannot be used (an unknown character set, say) leaves the locale without texts
// of this character type.
template <typename Char>
std::locale with_messages(const std::locale& base, const bl::gnu_gettext::messages_info& info) {
  try {
    return std::locale(base, bl::gnu_gettext::create_messages_facet<Char>(info));
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    return base;
  }
}

std::locale make_locale(const char* path, const char* domain, const char* name) {
  bl::generator generator;
  generator.categories(bl::all_categories ^ bl::category_t::message);
  const std::locale plain = generator.generate(name);

  const auto& info = std::use_facet<bl::info>(plain);
  bl::gnu_gettext::messages_info messages;
  messages.language = info.language();
  messages.country = info.country();
  messages.variant = info.variant();
  messages.encoding = info.encoding();
  messages.domains.emplace_back(domain);
  messages.paths.emplace_back(path);
  messages.callback = [](const std::string& file, const std::string& /*encoding*/) {
    return read_sound_catalogue(file);
  };
  return with_messages<wchar_t>(with_messages<char>(plain, messages), messages);
}

}  // namespace

void select_locale_maker() noexcept {
  try {
    auto manager = bl::localization_backend_manager::global();
    manager.select("winapi");
    bl::localization_backend_manager::global(manager);
  } catch (const std::exception&) {
    // Out of memory. There is one back end in this build, so it is selected already.
  }
}

bool install_locale(const char* path, const char* domain, const char* name,
                    LocaleParts& parts) noexcept {
  remove_locale();
  try {
    const std::locale ours = make_locale(path, domain, name);
    const auto& info = std::use_facet<bl::info>(ours);
    parts = {info.language(), info.country(), info.variant()};
    auto installing = std::make_unique<InstalledLocale>(
        InstalledLocale{ours, find_messages(ours), std::locale()});
    set_process_locale(ours);
    installed = installing.release();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void remove_locale() noexcept {
  const std::unique_ptr<InstalledLocale> ending(std::exchange(installed, nullptr));
  if (ending == nullptr || std::locale() != ending->ours) {
    return;
  }
  try {
    set_process_locale(ending->before);
  } catch (const std::bad_alloc&) {
    // Ours must not stay, whatever becomes of the C library's.
    std::locale::global(ending->before);
  }
}

const char* translate(const char* context, const char* msgid) noexcept {
  if (installed == nullptr) {
    return nullptr;
  }
  try {
    const std::locale now;
    const Messages* messages = now == installed->ours ? installed->messages : find_messages(now);
    return messages != nullptr ? messages->get(0, context, msgid) : nullptr;
  } catch (...) {
    return nullptr;  // Whatever is wrong with this catalogue or this text: it reads untranslated.
  }
}

}  // namespace orsin::port
