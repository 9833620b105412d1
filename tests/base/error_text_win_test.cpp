// The system's texts for error codes, with a stand-in for the call that gives them.
//
// The stand-in keeps to what is documented and was seen of the real one: a text that does not fit
// is a failure, although its beginning has been written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <optional>
#include <string>

#include "base/log_port.h"
#include "base/win/windows.h"
#include "orsincore/utf.h"

namespace orsin {
namespace {

constexpr DWORD kCode = 5;

std::optional<std::wstring> message;  // What the stand-in knows; without one the system answers.

DWORD WINAPI format_message(DWORD flags, LPCVOID source, DWORD code, DWORD language, LPWSTR text,
                            DWORD units, va_list* inserts) {
  if (!message) {
    static const auto system = reinterpret_cast<decltype(&FormatMessageW)>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("kernel32.dll"), "FormatMessageW")));
    return system(flags, source, code, language, text, units, inserts);
  }
  EXPECT_EQ(flags, DWORD{FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS});
  if (message->empty()) {
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return 0;
  }
  const std::size_t written = std::min<std::size_t>(message->size(), units - 1);
  std::wmemcpy(text, message->c_str(), written);
  text[written] = L'\0';
  if (written < message->size()) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  return static_cast<DWORD>(written);
}

class ErrorText : public testing::Test {
 protected:
  ~ErrorText() override { message.reset(); }

  // The text for the stand-in's message in a buffer of `size` bytes that held another before.
  static std::string text_of(const std::wstring& wide, std::size_t size) {
    message = wide;
    std::string buffer(size, '#');
    port::system_error_text(kCode, buffer.data(), size);
    return buffer.c_str();
  }
};

TEST_F(ErrorText, IsUtf8) {
  EXPECT_EQ(text_of(L"Zugriff verweigert: \u00fc\u4e2d\r\n", 256),
            "Zugriff verweigert: \u00fc\u4e2d\r\n");
}

TEST_F(ErrorText, OfMoreThan256UnitsIsCutAndNotLost) {
  EXPECT_EQ(text_of(std::wstring(2000, L'x'), 256), std::string(255, 'x'));
}

TEST_F(ErrorText, IsCutBetweenCharacters) {
  const std::wstring wide(300, L'\u00e4');

  for (std::size_t size = 1; size < 12; ++size) {
    SCOPED_TRACE(size);
    std::string expected;
    while (expected.size() + 2 < size) {
      expected += "\u00e4";
    }
    EXPECT_EQ(text_of(wide, size), expected);
  }
}

TEST_F(ErrorText, IsEmptyAfterARefusal) {
  EXPECT_EQ(text_of(L"", 256), "");
  EXPECT_EQ(text_of(std::wstring(70000, L'x'), 256), "") << "more than the system ever gives";
}

}  // namespace
}  // namespace orsin

extern "C" decltype(&FormatMessageW) __imp_FormatMessageW;
decltype(&FormatMessageW) __imp_FormatMessageW = orsin::format_message;
