// The spawner with real programs.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/startup.h"
#include "tests/support/environment_variable.h"
#include "tests/support/kit_path.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

std::string child() {
  return test::kit_path("tests/plugins/spawn_child.exe", ORSIN_TEST_CHILD);
}

// The vector that the spawner takes, over strings that it must not change.
class ArgumentVector {
 public:
  explicit ArgumentVector(Lines arguments) : arguments_(std::move(arguments)) {
    for (std::string& argument : arguments_) {
      pointers_.push_back(argument.data());
    }
    pointers_.push_back(nullptr);
  }
  char* const* get() const { return pointers_.data(); }

 private:
  Lines arguments_;
  std::vector<char*> pointers_;
};

bool run(const Lines& arguments, ProcessResultStruct& result) {
  const std::string program = child();
  Lines all = {program};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return SpawnAndLoopUntilFinished(program.c_str(), ArgumentVector(all).get(), true, nullptr,
                                   nullptr, result, 1);
}

TEST(SpawnedProgram, ReceivesEachArgumentAsGiven) {
  const test::TemporaryDirectory directory;
  const std::string file = directory.path("arguments");
  const Lines given = {"plain",
                       "",
                       "two words",
                       " ",
                       "tab\tinside",
                       "\"",
                       "\"quoted\"",
                       "say \"hi\" twice",
                       "C:\\dir\\",
                       "C:\\my dir\\",
                       "\\\\server\\share with blank\\\\",
                       "back\\\"slash quote",
                       "\\",
                       "\\\\\"",
                       "*.cpp",
                       "tak?",
                       "%PATH%",
                       "^caret & | < > ;",
                       "-restart",
                       "/slash",
                       "@file",
                       "'single'",
                       "line\nfeed",
                       "Дубль é 録音 \xF0\x9F\x8E\xB5",
                       "",
                       std::string(500, 'x') + " long"};
  Lines arguments = {"show", file};
  arguments.insert(arguments.end(), given.begin(), given.end());
  ProcessResultStruct result = {};

  ASSERT_TRUE(run(arguments, result));
  ASSERT_EQ(result.exit_code, 0);

  Lines received;
  const std::string text = test::TemporaryDirectory::read(file);
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find('\0', start);
    received.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  ASSERT_EQ(received.size(), given.size());
  for (std::size_t i = 0; i < given.size(); ++i) {
    EXPECT_EQ(received[i], given[i]) << "argument " << i;
  }
}

TEST(SpawnedProgram, ReceivesBytesThatAreNoUtf8AsLatin1) {
  const test::TemporaryDirectory directory;
  const std::string file = directory.path("arguments");
  ProcessResultStruct result = {};

  ASSERT_TRUE(run({"show", file, "caf\xE9"}, result));

  EXPECT_EQ(test::TemporaryDirectory::read(file), std::string("caf\xC3\xA9\0", 6));
}

TEST(SpawnedProgram, GivesItsExitCode) {
  const struct {
    const char* written;
    int expected;
  } cases[] = {{"0", 0},
               {"3", 3},
               {"259", 259},  // What the system answers for a program that still runs.
               {"0xC0000005", static_cast<int>(0xC0000005)},
               {"0xFFFFFFFF", -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.written);
    ProcessResultStruct result = {};

    EXPECT_TRUE(run({"exit", c.written}, result));

    EXPECT_TRUE(result.started);
    EXPECT_TRUE(result.exited);
    EXPECT_EQ(result.exit_code, c.expected);
    EXPECT_EQ(result.reserved, 0);
  }
}

TEST(SpawnedProgram, RunsWhileTheCallerIdles) {
  struct Loop {
    HANDLE event;
    int calls;
  };
  const std::string name = "OrsinSpawn" + std::to_string(GetCurrentProcessId());
  Loop loop = {CreateEventA(nullptr, TRUE, FALSE, name.c_str()), 0};
  ASSERT_NE(loop.event, nullptr);
  const std::string program = child();
  const ArgumentVector argv({program, "wait", name, "3"});
  ProcessResultStruct result = {};

  EXPECT_TRUE(SpawnAndLoopUntilFinished(
      program.c_str(), argv.get(), true,
      [](void* argument) {
        auto* own = static_cast<Loop*>(argument);
        if (++own->calls == 5) {
          SetEvent(own->event);  // The child waits for the fifth call.
        }
      },
      &loop, result, 1));

  EXPECT_GE(loop.calls, 5);
  EXPECT_EQ(result.exit_code, 3);
  CloseHandle(loop.event);
}

TEST(SpawnedProgram, IsFoundAlongThePath) {
  const std::filesystem::path path(test::to_path(child()));
  const std::string old_path = std::getenv("PATH");
  const std::string new_path = test::to_utf8(path.parent_path()) + ";" + old_path;
  const std::string name = test::to_utf8(path.filename());
  const ArgumentVector argv({name, "exit", "7"});
  ProcessResultStruct result = {};
  _putenv_s("PATH", new_path.c_str());

  EXPECT_TRUE(
      SpawnAndLoopUntilFinished(name.c_str(), argv.get(), true, nullptr, nullptr, result, 1));

  _putenv_s("PATH", old_path.c_str());
  EXPECT_EQ(result.exit_code, 7);
}

TEST(SpawnedProgram, MayLieUnderANameOutsideAsciiWithBlanks) {
  const test::TemporaryDirectory directory;
  const std::string copy = directory.path("Мой инструмент é.exe");
  std::filesystem::copy_file(test::to_path(child()), test::to_path(copy));
  const ArgumentVector argv({copy, "exit", "8"});
  ProcessResultStruct result = {};

  EXPECT_TRUE(
      SpawnAndLoopUntilFinished(copy.c_str(), argv.get(), true, nullptr, nullptr, result, 1));

  EXPECT_EQ(result.exit_code, 8);
}

TEST(SpawnedProgram, ThatCannotBeFoundIsAnError) {
  const LogCapture log;
  const ArgumentVector argv({"orsin-no-such-program"});
  ProcessResultStruct result = {true, 5, true, 5};

  EXPECT_FALSE(SpawnAndLoopUntilFinished("orsin-no-such-program", argv.get(), true, nullptr,
                                         nullptr, result, 1));

  EXPECT_FALSE(result.started);
  EXPECT_FALSE(result.exited);
  EXPECT_EQ(result.exit_code, -1);
  EXPECT_EQ(log.lines(), Lines{"ERROR: _spawnvp failed (No such file or directory)"});
}

// The system forgets a process when it has ended and its last handle is closed.
bool is_known(DWORD identifier) {
  HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, identifier);
  if (process != nullptr) {
    CloseHandle(process);
  }
  return process != nullptr;
}

// Looks until the claim holds; the deadline only ends a failing test.
template <typename Claim>
bool comes_true(Claim claim) {
  const ULONGLONG deadline = GetTickCount64() + 20000;
  while (!claim() && GetTickCount64() < deadline) {
    Sleep(1);
  }
  return claim();
}

TEST(SpawnedProgram, IsForgottenWhenItHasEnded) {
  for (const bool wait : {true, false}) {
    SCOPED_TRACE(wait);
    const test::TemporaryDirectory directory;
    const std::string file = directory.write("number", "");
    const std::string name = "OrsinNumber" + std::to_string(GetCurrentProcessId());
    HANDLE event = CreateEventA(nullptr, TRUE, wait, name.c_str());
    ASSERT_NE(event, nullptr);
    const std::string program = child();
    const ArgumentVector argv({program, "number", name, file});
    ProcessResultStruct result = {};

    EXPECT_TRUE(
        SpawnAndLoopUntilFinished(program.c_str(), argv.get(), wait, nullptr, nullptr, result, 1));
    ASSERT_TRUE(comes_true([&] { return !test::TemporaryDirectory::read(file).empty(); }));
    const auto identifier = static_cast<DWORD>(std::stoul(test::TemporaryDirectory::read(file)));
    EXPECT_TRUE(wait || is_known(identifier));
    SetEvent(event);

    EXPECT_TRUE(comes_true([&] { return !is_known(identifier); }));
    CloseHandle(event);
  }
}

}  // namespace
}  // namespace orsin
