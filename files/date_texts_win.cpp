// Times of files as text, in the user's format or as the web writes them.
#include <cstring>

#include "base/win/windows.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"

using namespace orsin;

namespace {

constexpr unsigned long long kTicksPerSecond = 10000000;  // 100 ns each.
constexpr unsigned long long kUnixEpochSeconds = 11644473600;

// For what programs read: a user's own calendar may count other years, a Thai one 2567 for 2024.
constexpr LCID kCommonCalendar = LOCALE_INVARIANT;
constexpr char kDatePicture[] = "yyyy-MM-dd";

bool to_utc(std::uint64_t ticks, SYSTEMTIME& time) {
  const FILETIME file_time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  return FileTimeToSystemTime(&file_time, &time) != 0;
}

// Summer or winter by the date itself: the conversion of file times would take today's offset.
bool to_local(std::uint64_t ticks, SYSTEMTIME& time) {
  SYSTEMTIME utc;
  return to_utc(ticks, utc) && SystemTimeToTzSpecificLocalTime(nullptr, &utc, &time) != 0;
}

// Text pieces one after the other, as many as fit.
class Text {
 public:
  Text(char* out, int size) : out_(out), room_(size) {
    if (room_ > 0) {
      *out_ = '\0';
    }
  }

  void append(const char* piece) {
    while (room_ > 1 && *piece != '\0') {
      *out_++ = *piece++;
      --room_;
    }
    if (room_ > 0) {
      *out_ = '\0';
    }
  }
  void append_date(LCID locale, const SYSTEMTIME& time, const char* picture) {
    if (room_ > 0) {
      step(GetDateFormatA(locale, 0, &time, picture, out_, room_));
    }
  }
  void append_time(LCID locale, DWORD flags, const SYSTEMTIME& time, const char* picture) {
    if (room_ > 0) {
      step(GetTimeFormatA(locale, flags, &time, picture, out_, room_));
    }
  }

 private:
  // The system's count includes the terminator; 0 says that the piece did not fit.
  void step(int bytes) {
    const int length = bytes > 0 ? bytes - 1 : 0;
    out_ += length;
    room_ -= length;
    *out_ = '\0';
  }

  char* out_;
  int room_;
};

void write_local_text(std::uint64_t ticks, char* out, int size) {
  Text text(out, size);
  SYSTEMTIME time;
  if (!to_local(ticks, time)) {
    return;
  }
  text.append_date(LOCALE_USER_DEFAULT, time, nullptr);
  text.append(" ");
  text.append_time(LOCALE_USER_DEFAULT, TIME_NOSECONDS | TIME_FORCE24HOURFORMAT, time, nullptr);
}

}  // namespace

bool file_ts_2_txt(unsigned long long ts, char* out, int size) {
  if (out == nullptr) {
    return false;
  }
  write_local_text((kUnixEpochSeconds + ts) * kTicksPerSecond, out, size);
  return true;
}

bool file_get_local_datetime_str(const char* path, char* out, int size) {
  port::FileFacts facts;
  if (out == nullptr || !port::read_facts(path, facts)) {
    return false;
  }
  write_local_text(facts.write_time, out, size);
  return true;
}

bool file_get_mod_date_str(const char* path, char* out, int size, int mode) {
  constexpr int kLocalDate = 0;
  constexpr int kWithOffset = 2;
  port::FileFacts facts;
  if (out == nullptr || !port::read_facts(path, facts)) {
    return false;
  }
  Text text(out, size);
  SYSTEMTIME time;
  if (mode == kLocalDate) {
    if (to_local(facts.write_time, time)) {
      text.append_date(kCommonCalendar, time, kDatePicture);
    }
    return true;
  }
  if (to_utc(facts.write_time, time)) {
    text.append_date(kCommonCalendar, time, kDatePicture);
    text.append("T");
    text.append_time(kCommonCalendar, 0, time, "HH:mm:ss");
    text.append(mode == kWithOffset ? "+00:00" : "Z");
  }
  return true;
}
