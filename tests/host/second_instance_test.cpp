// A second instance of one application: what the user sees, and what the first one learns.
#include <filesystem>
#include <optional>

#include "tests/host/child_process.h"

namespace orsin {
namespace {

using test::ChildProcess;
using test::NamedEvent;

constexpr int kRefused = 2;

class SecondInstance : public test::HostTest {
 protected:
  void start_first(const char* command) {
    ready_.emplace(name() + "Ready");
    ask_.emplace(name() + "Ask");
    first_.emplace(host(command));
    ASSERT_TRUE(ready_->wait());
  }

  // Starts another instance and presses OK in its message box; what the box said.
  std::string start_second(const std::string& command_line) {
    ChildProcess second(command_line);
    const std::string text = answer_box(second);
    EXPECT_EQ(second.wait(), kRefused);
    return text;
  }

  // Lets the first instance look for updates, and ends it.
  std::string end_first() {
    ask_->set();
    EXPECT_EQ(first_->wait(), 0);
    return log();
  }

 private:
  [[nodiscard]] std::string answer_box(const ChildProcess& second) const {
    constexpr int kTextControl = 0xFFFF;
    for (DWORD waited = 0; waited < test::kDeadlineMs && !second.has_ended(); waited += 10) {
      HWND box = FindWindowW(L"#32770", test::to_path(name()).c_str());
      HWND label = box != nullptr ? GetDlgItem(box, kTextControl) : nullptr;
      char text[100] = {};
      if (label != nullptr &&
          SendMessageA(label, WM_GETTEXT, sizeof(text), reinterpret_cast<LPARAM>(text)) > 0) {
        PostMessageA(box, WM_COMMAND, IDOK, 0);
        return text;
      }
      Sleep(10);  // Another process's window: there is nothing to wait on.
    }
    return {};
  }

  // All processes of the library share one record: another test's arguments would replace ours.
  test::OneAtATime alone_{"OrsinSecondInstanceTest"};
  std::optional<NamedEvent> ready_;
  std::optional<NamedEvent> ask_;
  std::optional<ChildProcess> first_;
};

TEST_F(SecondInstance, LeavesItsArgumentsWhichTheFirstSeesOnce) {
  start_first("serve");
  start_second(host("close", "-x file"));

  const std::string text = end_first();

  EXPECT_NE(text.find("update 1 [-x close " + name() + " -x file] then 0"), std::string::npos)
      << text;
}

TEST_F(SecondInstance, TellsTheUserWhereTheFirstHasNoWindow) {
  start_first("serve");

  EXPECT_EQ(start_second(host("close")), "There is already an instance running!");

  end_first();
}

TEST_F(SecondInstance, RestoresTheMinimisedWindowOfTheFirst) {
  start_first("window");

  EXPECT_EQ(run("close"), kRefused);

  const std::string text = end_first();
  EXPECT_NE(text.find("window is restored"), std::string::npos) << text;
}

TEST_F(SecondInstance, IsNotHeldUpByAFirstOneThatHangs) {
  start_first("hung");
  ChildProcess second(host("close", "-x file"));

  EXPECT_EQ(second.wait(), kRefused);

  const std::string text = end_first();
  EXPECT_NE(text.find(" -x file] then 0"), std::string::npos) << text;
}

TEST_F(SecondInstance, FindsTheWindowOfANameOutsideAscii) {
  extend_name("Дубль");
  start_first("window");

  EXPECT_EQ(run("close"), kRefused);

  const std::string text = end_first();
  EXPECT_NE(text.find("window is restored"), std::string::npos) << text;
}

TEST_F(SecondInstance, TitlesItsMessageWithANameOutsideAscii) {
  extend_name("Дубль");
  start_first("serve");

  EXPECT_EQ(start_second(host("close")), "There is already an instance running!");

  end_first();
}

TEST_F(SecondInstance, OnlyTheLatestOfSeveralIsDelivered) {
  start_first("window");

  EXPECT_EQ(run("close", "one"), kRefused);
  EXPECT_EQ(run("close", "two"), kRefused);

  const std::string text = end_first();
  EXPECT_NE(text.find(" two] then 0"), std::string::npos) << text;
  EXPECT_EQ(text.find(" one]"), std::string::npos) << text;
}

TEST_F(SecondInstance, LeavesAtMost260Bytes) {
  start_first("window");
  const std::string arguments = "-x close " + name() + " " + std::string(300, 'a');

  EXPECT_EQ(run("close", std::string(300, 'a')), kRefused);

  const std::string text = end_first();
  EXPECT_NE(text.find("update 1 [" + arguments.substr(0, 260) + "] then 0"), std::string::npos)
      << text;
}

TEST_F(SecondInstance, LeavesArgumentsOutsideAsciiAsUtf8) {
  start_first("window");

  EXPECT_EQ(run("close", "Rückblick.mov"), kRefused);

  const std::string text = end_first();
  EXPECT_NE(text.find(" Rückblick.mov] then 0"), std::string::npos) << text;
}

TEST_F(SecondInstance, KeepsTheRestOfAQuotedPathWithABlankBeforeTheArguments) {
  start_first("window");
  // Quotes and blanks before the name are skipped; the name ends at the blank within its quotes.
  const std::string program = directory().path("two words.exe");
  std::filesystem::copy_file(test::to_path(test::host_program()), test::to_path(program));

  EXPECT_EQ(ChildProcess("\"" + program + "\" -x close " + name()).wait(), kRefused);

  const std::string text = end_first();
  EXPECT_NE(text.find("update 1 [words.exe\" -x close " + name() + "] then 0"), std::string::npos)
      << text;
}

}  // namespace
}  // namespace orsin
