// Bidirectional text: the whole analysis of a text of about 100 characters, and plain ASCII.
//
// Rivals: FriBidi called directly, doing the same from UTF-8 to visual UTF-8 and both maps in
// buffers of its own; strlen() over the same text. A good result is at most 1.25 times FriBidi, and
// at most 20 times strlen() on ASCII, where nothing is allocated.
#include <benchmark/benchmark.h>
#include <fribidi.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "orsincore/text.h"

namespace {

struct Sample {
  const char* name;
  const char* text;
};

constexpr Sample kSamples[] = {
    {"Hebrew",
     "סצנה 12 (חוץ, לילה): המצלמה עוקבת אחרי הרכב עד לגשר, ואז take 7 מתחיל. אורך 00:03:25, 25 "
     "fps, קובץ A012_C007.mov"},
    {"Arabic",
     "المشهد ١٢ (خارجي، ليل): تتبع الكاميرا السيارة حتى الجسر ثم تبدأ لقطة take 7، المدة ٣ دقائق "
     "الملف A012_C007.mov"},
    {"English",
     "Reel 12: the Hebrew title שלום עולם stands over take 7, its Arabic one مرحبا "
     "بالعالم below (see A012_C007.mov)"},
};

struct Destroyer {
  void operator()(OvBidi* bidi) const { OvBidi::Destroy(bidi); }
};

void analyse_orsin(benchmark::State& state) {
  const Sample& sample = kSamples[state.range(0)];
  const std::unique_ptr<OvBidi, Destroyer> bidi(OvBidi::Create());
  bidi->SetRightToLeft(state.range(0) < 2 ? 1 : 0);
  for (auto _ : state) {
    bidi->SetText(sample.text);
    benchmark::DoNotOptimize(bidi->GetVisualText());
  }
  state.SetLabel(sample.name);
}

// What a program would write that calls FriBidi itself.
class Direct {
 public:
  const char* visual_text(const char* text, FriBidiParType direction) {
    constexpr FriBidiFlags kFlags = FRIBIDI_FLAGS_DEFAULT | FRIBIDI_FLAGS_ARABIC;
    const auto size = static_cast<FriBidiStrIndex>(std::strlen(text));
    const FriBidiStrIndex length =
        fribidi_charset_to_unicode(FRIBIDI_CHAR_SET_UTF8, text, size, logical_);
    fribidi_get_bidi_types(logical_, length, types_);
    fribidi_get_bracket_types(logical_, length, types_, brackets_);
    if (fribidi_get_par_embedding_levels_ex(types_, brackets_, length, &direction, levels_) == 0) {
      return nullptr;
    }
    std::memcpy(visual_, logical_, static_cast<std::size_t>(length) * sizeof(FriBidiChar));
    fribidi_get_joining_types(logical_, length, joining_);
    fribidi_join_arabic(types_, length, levels_, joining_);
    fribidi_shape(kFlags, levels_, length, joining_, visual_);
    for (FriBidiStrIndex i = 0; i < length; ++i) {
      visual_to_logical_[i] = i;
    }
    if (fribidi_reorder_line(kFlags, types_, length, 0, direction, levels_, visual_,
                             visual_to_logical_) == 0) {
      return nullptr;
    }
    for (FriBidiStrIndex i = 0; i < length; ++i) {
      logical_to_visual_[visual_to_logical_[i]] = i;
    }
    fribidi_unicode_to_charset(FRIBIDI_CHAR_SET_UTF8, visual_, length, text_);
    return text_;
  }

 private:
  static constexpr std::size_t kCharacters = 256;

  FriBidiChar logical_[kCharacters];
  FriBidiChar visual_[kCharacters];
  FriBidiCharType types_[kCharacters];
  FriBidiBracketType brackets_[kCharacters];
  FriBidiLevel levels_[kCharacters];
  FriBidiArabicProp joining_[kCharacters];
  FriBidiStrIndex visual_to_logical_[kCharacters];
  FriBidiStrIndex logical_to_visual_[kCharacters];
  char text_[4 * kCharacters + 1];
};

void analyse_fribidi(benchmark::State& state) {
  const Sample& sample = kSamples[state.range(0)];
  const auto direct = std::make_unique<Direct>();
  const FriBidiParType direction = state.range(0) < 2 ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
  for (auto _ : state) {
    benchmark::DoNotOptimize(direct->visual_text(sample.text, direction));
    benchmark::ClobberMemory();
  }
  state.SetLabel(sample.name);
}

void ascii_orsin(benchmark::State& state) {
  const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
  const std::unique_ptr<OvBidi, Destroyer> bidi(OvBidi::Create());
  for (auto _ : state) {
    bidi->SetText(text.c_str());
    benchmark::DoNotOptimize(bidi->GetVisualText());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void ascii_strlen(benchmark::State& state) {
  const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
  const char* pointer = text.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(pointer);
    benchmark::DoNotOptimize(std::strlen(pointer));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

BENCHMARK(analyse_orsin)->DenseRange(0, 2)->UseRealTime();
BENCHMARK(analyse_fribidi)->DenseRange(0, 2)->UseRealTime();
BENCHMARK(ascii_orsin)->Arg(20)->Arg(100)->Arg(1 << 20)->UseRealTime();
BENCHMARK(ascii_strlen)->Arg(20)->Arg(100)->Arg(1 << 20)->UseRealTime();

}  // namespace
