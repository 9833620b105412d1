// What start-up asks of the system, answered by the system itself.
#include <gtest/gtest.h>

#include <string>

#include "base/win/windows.h"
#include "startup/instance_port.h"
#include "startup/startup_port.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

// Opened as C streams and viewers are: others may read and write, but not rename.
HANDLE hold(const std::string& path, DWORD access, DWORD sharing) {
  return CreateFileW(test::to_path(path).c_str(), access, sharing, nullptr, OPEN_EXISTING, 0,
                     nullptr);
}

TEST(FileThatIsWritten, CanBeToldFromOneThatIsNot) {
  const struct {
    const char* what;
    DWORD access;
    DWORD sharing;
    bool expected;
  } cases[] = {
      {"a stream", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, true},
      {"a viewer that lets us write", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, false},
      {"a viewer that does not", GENERIC_READ, FILE_SHARE_READ, true},
  };
  const TemporaryDirectory directory;
  const std::string path = directory.write("Take.log", "before");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    HANDLE file = hold(path, c.access, c.sharing);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);

    EXPECT_EQ(port::is_file_written(path.c_str()), c.expected);

    CloseHandle(file);
  }
  EXPECT_FALSE(port::is_file_written(path.c_str()));
  EXPECT_FALSE(port::is_file_written(directory.path("absent").c_str()));
  EXPECT_EQ(TemporaryDirectory::read(path), "before");
}

TEST(CopyOfAFile, IsMadeAlsoOfOneThatIsHeld) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("Take.log", "before");
  const std::string copy = directory.write("Take.1.log", "long before");
  HANDLE file = hold(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);

  EXPECT_TRUE(port::copy_file(path.c_str(), copy.c_str()));
  EXPECT_FALSE(port::copy_file(directory.path("absent").c_str(), copy.c_str()));

  CloseHandle(file);
  EXPECT_EQ(TemporaryDirectory::read(copy), "before");
}

TEST(ComputerName, IsToldWhereItFits) {
  char name[64] = {};
  char none[1];

  EXPECT_TRUE(port::computer_name(name, sizeof(name)));
  EXPECT_FALSE(port::computer_name(none, sizeof(none)));

  EXPECT_STRNE(name, "");
}

// A value of the machine's registration that exists for one test.
class RegisteredValue {
 public:
  RegisteredValue(const wchar_t* name, DWORD type, const void* data, DWORD bytes) : name_(name) {
    EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, name, type, data, bytes), ERROR_SUCCESS);
  }
  ~RegisteredValue() { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kKey, name_); }
  RegisteredValue(const RegisteredValue&) = delete;
  RegisteredValue& operator=(const RegisteredValue&) = delete;

 private:
  static constexpr wchar_t kKey[] = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
  const wchar_t* name_;
};

TEST(Registration, IsReadWhereItIsAPlainTextOnly) {
  constexpr wchar_t kText[] = L"Studio S\u00fcd";
  constexpr DWORD kNumber = 7;
  const RegisteredValue text(L"OrsinTestText", REG_SZ, kText, sizeof(kText));
  const RegisteredValue open_ended(L"OrsinTestOpen", REG_SZ, kText, sizeof(kText) - 2);
  const RegisteredValue expanding(L"OrsinTestExpanding", REG_EXPAND_SZ, kText, sizeof(kText));
  const RegisteredValue number(L"OrsinTestNumber", REG_DWORD, &kNumber, sizeof(kNumber));
  const RegisteredValue empty(L"OrsinTestEmpty", REG_SZ, L"", sizeof(wchar_t));
  char found[128];

  for (const char* name : {"OrsinTestText", "OrsinTestOpen"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(port::registered(name, found, sizeof(found)));
    EXPECT_STREQ(found, "Studio S\u00fcd");
  }
  for (const char* name :
       {"OrsinTestExpanding", "OrsinTestNumber", "OrsinTestEmpty", "OrsinTestAbsent"}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(port::registered(name, found, sizeof(found)));
  }
}

// A program without a manifest, as this one, is told 6.2 by GetVersionEx() on anything newer.
TEST(SystemVersion, IsTheSystemsOwnWhateverTheManifestSays) {
  DWORD major = 0;
  DWORD minor = 0;
  DWORD build = 0;
  using GetNumbers = void(WINAPI*)(DWORD*, DWORD*, DWORD*);
  reinterpret_cast<GetNumbers>(reinterpret_cast<void*>(GetProcAddress(
      GetModuleHandleW(L"ntdll.dll"), "RtlGetNtVersionNumbers")))(&major, &minor, &build);

  const port::SystemVersion version = port::system_version();

  EXPECT_EQ(version.major, static_cast<int>(major));
  EXPECT_EQ(version.minor, static_cast<int>(minor));
  EXPECT_EQ(version.build, static_cast<int>(build & 0xFFFF));
}

TEST(Desktop, IsVisibleUnlessItsWindowStationIsNot) {
  const HWINSTA own = GetProcessWindowStation();
  const HWINSTA hidden = CreateWindowStationW(nullptr, 0, GENERIC_ALL, nullptr);
  ASSERT_NE(hidden, nullptr);
  EXPECT_TRUE(port::desktop_is_visible());
  ASSERT_TRUE(SetProcessWindowStation(hidden));

  EXPECT_FALSE(port::desktop_is_visible());

  SetProcessWindowStation(own);
  CloseWindowStation(hidden);
}

}  // namespace
}  // namespace orsin
