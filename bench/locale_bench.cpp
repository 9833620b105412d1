// Translated texts against those who find them: Boost.Locale's own lookup, and GNU gettext's.
//
// A catalogue of 4,000 messages, half of them in a context, is written to a temporary directory and
// installed as start-up does it; the rivals read the same file. Each iteration asks for 1,000
// identifiers of about 35 characters in a scattered order.
//
//   hit          the catalogue has the text
//   hit_context  the same with a context
//   miss         it has not
//
// A good result is quicker than "boost_global", the plain use of Boost.Locale, which asks the process
// for its locale and that for its messages each time. Ours asks for the locale, too, which costs 25 ns
// for the standard library's lock; "boost" is the lookup without both.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <boost/locale/generator.hpp>
#include <boost/locale/message.hpp>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <random>
#include <string>
#include <vector>

#include "base/program_paths.h"
#include "orsincore/text.h"
#include "tests/support/temporary_directory.h"
#include "tests/text/catalogue_builder.h"
#include "text/localisation.h"

#if defined(ORSIN_RIVAL_LIBINTL)
// GNU gettext's header would redirect printf() and its like, and setlocale().
extern "C" {
char* libintl_gettext(const char* msgid);
char* libintl_textdomain(const char* domain);
char* libintl_bindtextdomain(const char* domain, const char* path);
char* libintl_bind_textdomain_codeset(const char* domain, const char* codeset);
}
#endif

namespace {

using orsin::test::CatalogueBuilder;
using orsin::test::TemporaryDirectory;
using Texts = std::vector<std::string>;
using BoostMessages = boost::locale::message_format<char>;

constexpr int kMessages = 2000;  // Each once without and once with the context.
constexpr std::size_t kAsked = 1000;
constexpr const char* kContext = "menu";
constexpr std::uint32_t kSlots = 5333;  // A prime, a third more than there are messages.

std::string identifier(int number) {
  return "Message number " + std::to_string(number) + " of the editor";
}

// The hash of the GNU MO format (P. J. Weinberger's).
std::uint32_t hash_of(const std::string& key) {
  std::uint32_t hash = 0;
  for (const char c : key) {
    hash = (hash << 4) + static_cast<unsigned char>(c);
    const std::uint32_t high = hash & 0xF0000000;
    hash = (hash ^ high >> 24) ^ high;
  }
  return hash;
}

std::string make_catalogue() {
  CatalogueBuilder builder;
  builder.messages = {{"", "Content-Type: text/plain; charset=UTF-8\nplural=(n != 1);\n"}};
  for (int i = 0; i < kMessages; ++i) {
    builder.messages.emplace_back(identifier(i), "Nachricht " + std::to_string(i));
    builder.messages.emplace_back(std::string(kContext) + "\x04" + identifier(i),
                                  "Menü " + std::to_string(i));
  }
  std::sort(builder.messages.begin(), builder.messages.end());
  builder.slots.assign(kSlots, 0);
  for (std::size_t i = 0; i < builder.messages.size(); ++i) {
    const std::uint32_t hash = hash_of(builder.messages[i].first);
    std::uint32_t slot = hash % kSlots;
    while (builder.slots[slot] != 0) {
      slot = (slot + 1 + hash % (kSlots - 2)) % kSlots;
    }
    builder.slots[slot] = static_cast<std::uint32_t>(i + 1);
  }
  return builder.bytes();
}

Texts make_asked(const char* tail) {
  std::mt19937 random(1);
  Texts texts;
  for (std::size_t i = 0; i < kAsked; ++i) {
    texts.push_back(identifier(static_cast<int>(random() % kMessages)) + tail);
  }
  return texts;
}

// The catalogue installed for everybody, once for all benchmarks.
struct Installed {
  Installed() {
    directory.write("locale/de/LC_MESSAGES/korvane.mo", make_catalogue());
    const std::string configuration = directory.write("language.cfg", "language=de_DE\n");
    std::snprintf(orsin::program_paths().data, orsin::kPathBytes, "%s", directory.path().c_str());
    std::snprintf(orsin::program_paths().search_list, orsin::kPathBytes, "%s;",
                  directory.path().c_str());
    orsin::start_localisation();

    boost::locale::generator generator;
    generator.add_messages_path(directory.path("locale"));
    generator.add_messages_domain("korvane");
    locale = generator.generate("de_DE.UTF-8");
#if defined(ORSIN_RIVAL_LIBINTL)
    _putenv("LC_ALL=de_DE");
    _putenv("LANGUAGE=de");
    libintl_bindtextdomain("korvane", directory.path("locale").c_str());
    libintl_bind_textdomain_codeset("korvane", "UTF-8");
    libintl_textdomain("korvane");
#endif
  }
  ~Installed() {
    orsin::stop_localisation();
  }

  TemporaryDirectory directory;
  std::locale locale;
  Texts hits = make_asked("");
  Texts misses = make_asked("?");
};

Installed& installed() {
  static Installed instance;
  return instance;
}

// Translates all texts in each iteration. A rival that does not find them makes no race.
template <typename Translate>
void run(benchmark::State& state, const Texts& texts, bool is_hit, Translate translate) {
  const char* first = translate(texts[0].c_str());
  if ((first != nullptr && first != texts[0]) != is_hit) {
    state.SkipWithError("does not find the catalogue");
    return;
  }
  const auto translate_all = [&] {
    for (const std::string& text : texts) {
      benchmark::DoNotOptimize(translate(text.c_str()));
    }
  };
  translate_all();  // GNU gettext's first look at each is slow.
  for (auto _ : state) {
    translate_all();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(texts.size()));
}

// One racer in its three disciplines; `translate` takes a context, which may be null, and a text.
template <typename Translate>
void enter(const std::string& name, Translate translate) {
  const auto add = [&](const char* discipline, const Texts& texts, bool is_hit,
                       const char* context) {
    benchmark::RegisterBenchmark((std::string(discipline) + "/" + name).c_str(),
                                 [=, &texts](benchmark::State& state) {
                                   run(state, texts, is_hit,
                                       [&](const char* text) { return translate(context, text); });
                                 })
        ->UseRealTime();
  };
  add("hit", installed().hits, true, nullptr);
  add("hit_context", installed().hits, true, kContext);
  add("miss", installed().misses, false, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const auto& messages = std::use_facet<BoostMessages>(installed().locale);
  enter("orsin", [](const char* context, const char* text) { return ov_pgettext(context, text); });
  enter("boost",
        [&](const char* context, const char* text) { return messages.get(0, context, text); });
  enter("boost_global", [](const char* context, const char* text) {
    return std::use_facet<BoostMessages>(std::locale()).get(0, context, text);
  });
#if defined(ORSIN_RIVAL_LIBINTL)
  enter("gettext", [](const char* context, const char* text) -> const char* {
    if (context == nullptr) {
      return libintl_gettext(text);
    }
    // As gettext.h does it: the key is put together for each call.
    char key[256];
    std::snprintf(key, sizeof(key), "%s\x04%s", context, text);
    const char* found = libintl_gettext(key);
    return found != key ? found : text;
  });
#endif
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
