#include "base/message_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/clock.h"
#include "base/log_port.h"
#include "base/system_error_text.h"
#include "orsincore/log.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

class MessageLog : public testing::Test {
 protected:
  void SetUp() override { start_clock(); }
};

// Passes its arguments on as a va_list.
int forward(int (*function)(const char*, std::va_list), const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = function(format, arguments);
  va_end(arguments);
  return result;
}

TEST_F(MessageLog, NamesEachLevelInFiveCharacters) {
  const LogCapture log(4);

  EXPECT_EQ(msgerror("a%d", 0), 1);
  EXPECT_EQ(msgwarn("a%d", 1), 1);
  EXPECT_EQ(msginfo("a%d", 2), 1);
  EXPECT_EQ(msgdebug("a%d", 3), 1);
  EXPECT_EQ(msg_trace("a%d", 4), 1);

  EXPECT_EQ(log.lines(), (Lines{"ERROR: a0", "WARN : a1", "INFO : a2", "DEBUG: a3", "TRACE: a4"}));
}

TEST_F(MessageLog, TakesArgumentListsAtEveryLevel) {
  const LogCapture log(3);

  EXPECT_EQ(forward(vmsgerror, "%s", "e"), 1);
  EXPECT_EQ(forward(vmsgwarn, "%s", "w"), 1);
  EXPECT_EQ(forward(vmsginfo, "%s", "i"), 1);
  EXPECT_EQ(forward(vmsgdebug, "%s", "d"), 1);
  EXPECT_EQ(forward(vmsgcont, "%s", "c"), 1);

  EXPECT_EQ(log.lines(), (Lines{"ERROR: e", "WARN : w", "INFO : i", "DEBUG: d", "     : c"}));
}

TEST_F(MessageLog, StampsHeadsWithTheTimeOfDay) {
  const LogCapture log;

  msginfo("text");

  const std::string text = log.text();
  ASSERT_EQ(text.size(), std::string("hh:mm:ss.ss INFO : text\n").size());
  EXPECT_EQ(text[2], ':');
  EXPECT_EQ(text[5], ':');
  EXPECT_EQ(text[8], '.');
  EXPECT_EQ(text.substr(11), " INFO : text\n");
}

TEST_F(MessageLog, LeavesOutWhatIsAboveTheCurrentLevel) {
  const LogCapture log(1);

  EXPECT_EQ(msginfo("no"), 0);
  EXPECT_EQ(msgdebug("no"), 0);
  EXPECT_EQ(msg_trace("no"), 0);
  EXPECT_EQ(msgwarn("yes"), 1);

  EXPECT_EQ(log.lines(), (Lines{"WARN : yes"}));
}

TEST_F(MessageLog, WritesAContinuationOnlyAfterAWrittenHead) {
  const LogCapture log(1);

  EXPECT_EQ(msgcont("before any head"), 0);
  msgwarn("head");
  EXPECT_EQ(msgcont("after warn"), 1);
  msginfo("filtered");
  EXPECT_EQ(msgcont("after filtered info"), 0);

  EXPECT_EQ(log.lines(), (Lines{"WARN : head", "     : after warn"}));
}

TEST_F(MessageLog, KeepsContinuationsBelongingToTheHeadBeforeAFilteredDebugLine) {
  const LogCapture log(2);
  msginfo("head");

  msgdebug("filtered");

  EXPECT_EQ(msgcont("still written"), 1);
  EXPECT_EQ(log.lines(), (Lines{"INFO : head", "     : still written"}));
}

TEST_F(MessageLog, ContinuationsHaveSeventeenBlanksAndAColon) {
  const LogCapture log;
  msginfo("head");

  msgcont("text");

  EXPECT_TRUE(log.text().ends_with("\n                 : text\n"));
}

TEST_F(MessageLog, CutsLevelsAboveTraceToTrace) {
  const LogCapture log(4);
  msginfo("head");

  EXPECT_EQ(msg(7, "seven"), 1);
  msg_setlevel(3);
  EXPECT_EQ(msg(7, "filtered"), 0);

  EXPECT_EQ(msgcont("last level is still info"), 1);
  EXPECT_EQ(log.lines(), (Lines{"INFO : head", "TRACE: seven", "     : last level is still info"}));
}

TEST_F(MessageLog, NegativeLevelsAreNotWrittenAndSilenceContinuations) {
  const LogCapture log(4);
  msginfo("head");

  EXPECT_EQ(msg(-1, "no"), 0);

  EXPECT_EQ(msgcont("no"), 0);
  EXPECT_EQ(log.lines(), (Lines{"INFO : head"}));
}

TEST_F(MessageLog, SetsTheLastLevelEvenWhenMsgIsFiltered) {
  const LogCapture log(2);
  msginfo("head");

  EXPECT_EQ(msg(3, "filtered"), 0);

  EXPECT_EQ(msgcont("no"), 0);
}

TEST_F(MessageLog, IgnoresALevelSetBeforeItIsOpen) {
  msg_setlevel(4);

  EXPECT_EQ(msg_getlevel(), -1);
  EXPECT_EQ(msgerror("closed"), 0);
  EXPECT_EQ(msg(0, "closed"), 0);
}

TEST_F(MessageLog, OpensAtInfoOnAFileAndAtWarnOnStandardError) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  msg_open(file);
  EXPECT_EQ(msg_getlevel(), 2);
  EXPECT_EQ(msg_get_file(), file);
  msg_close();
  EXPECT_EQ(msg_getlevel(), -1);
  EXPECT_EQ(msg_get_file(), nullptr);
  std::fclose(file);

  msg_open(nullptr);
  EXPECT_EQ(msg_getlevel(), 1);
  EXPECT_EQ(msg_get_file(), stderr);
  msg_close();
}

TEST_F(MessageLog, StaysClosedWithoutMemoryForItsBuffer) {
  {
    const test::AllocationRefusal refusal(8192);
    msg_open(stderr);
  }
  msg_setlevel(4);

  EXPECT_EQ(msg_getlevel(), -1);
  EXPECT_EQ(msg(0, "nowhere"), 0);
  EXPECT_EQ(msgerror("nowhere"), 0);
  msg_close();
}

TEST_F(MessageLog, ReachesStandardErrorWhenSilencedByANegativeLevel) {
  const LogCapture log;
  msginfo("head");
  msg_setlevel(-1);
  testing::internal::CaptureStderr();

  EXPECT_EQ(msg(0, "lowest"), 1);
  EXPECT_EQ(msg(2, "plain"), 1);
  EXPECT_EQ(msg(4, "highest"), 1);
  EXPECT_EQ(msg(9, "above\n"), 1);
  EXPECT_EQ(msg(-3, "below"), 1);
  EXPECT_EQ(msgerror("levels stay silent"), 0);

  std::string written = testing::internal::GetCapturedStderr();
  std::erase(written, '\r');
  EXPECT_EQ(written,
            "##:##:##.## ERROR: lowest\n"
            "##:##:##.## INFO : plain\n"
            "##:##:##.## TRACE: highest\n"
            "##:##:##.##      : above\n"
            "##:##:##.##      : below\n");
  EXPECT_EQ(log.lines(), (Lines{"INFO : head"}));
}

TEST_F(MessageLog, EndsEachLineOnStandardErrorOnce) {
  const LogCapture log;
  msg_setlevel(-1);
  testing::internal::CaptureStderr();

  msg(0, "\n");
  msg(0, "%s", "");
  msg(0, "x");

  std::string written = testing::internal::GetCapturedStderr();
  std::erase(written, '\r');
  EXPECT_EQ(written,
            "##:##:##.## ERROR: \n"
            "##:##:##.## ERROR: \n"
            "##:##:##.## ERROR: x\n");
}

TEST_F(MessageLog, TakesErrorsOnlyAtTheLowestLevel) {
  const LogCapture log(0);

  EXPECT_EQ(msg(0, "error"), 1);
  EXPECT_EQ(msg(1, "warning"), 0);

  EXPECT_EQ(log.lines(), Lines{"ERROR: error"});
}

TEST_F(MessageLog, KeepsItsBufferWholeWhenALongMessageMeetsANegativeLevel) {
  const LogCapture log;
  msg_setlevel(-1);
  testing::internal::CaptureStderr();

  msg(0, "%s", std::string(20000, 'x').c_str());

  std::string written = testing::internal::GetCapturedStderr();
  std::erase(written, '\r');
  EXPECT_EQ(written.size(), std::string("##:##:##.## ERROR: ").size() + 8191);
  EXPECT_EQ(written.back(), '\n');
}

TEST_F(MessageLog, ListsTextAsItIs) {
  const LogCapture log(0);

  EXPECT_EQ(msglist("same"), 1);
  EXPECT_EQ(msglist("same"), 1);

  EXPECT_EQ(log.text(), "same\nsame\n");
}

TEST_F(MessageLog, DoesNotAddASecondLineFeed) {
  const LogCapture log;

  msginfo("text\n");

  EXPECT_EQ(log.lines(), (Lines{"INFO : text"}));
}

TEST_F(MessageLog, WritesNothingForAnEmptyText) {
  const LogCapture log;

  EXPECT_EQ(msginfo("%s", ""), 1);

  EXPECT_EQ(log.text(), "");
}

TEST_F(MessageLog, ReplacesTheLastCharacterOfAFullBufferByALineFeed) {
  const LogCapture log;

  msginfo("%s", std::string(8191, 'x').c_str());

  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0], "INFO : " + std::string(8190, 'x'));
}

TEST_F(MessageLog, CutsWhatDoesNotFitItsBuffer) {
  const LogCapture log;

  msginfo("%s", std::string(30000, 'x').c_str());
  msginfo("next");

  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], "INFO : " + std::string(8190, 'x'));
  EXPECT_EQ(lines[1], "INFO : next");
}

TEST_F(MessageLog, FoldsIdenticalLinesIntoACount) {
  const LogCapture log;

  msginfo("same");
  msginfo("same");
  msginfo("same");
  msginfo("other");

  const std::string text = log.text();
  EXPECT_NE(text.find("\n               # : Repeated 2 times\n"), std::string::npos) << text;
  EXPECT_EQ(log.lines().size(), 3U);
}

TEST_F(MessageLog, KeepsSilentAboutALineRepeatedOnce) {
  const LogCapture log;

  msginfo("same");
  msginfo("same");
  msginfo("other");

  EXPECT_EQ(log.lines(), (Lines{"INFO : same", "INFO : other"}));
}

TEST_F(MessageLog, FoldsAcrossLevels) {
  const LogCapture log;

  msginfo("same");
  msgerror("same");
  msgcont("same");
  msginfo("other");

  EXPECT_EQ(log.lines().size(), 3U);
}

TEST_F(MessageLog, NeverFoldsLinesOf256Characters) {
  const LogCapture log;
  const std::string shorter(255, 'a');
  const std::string longer(256, 'b');

  msginfo("%s", longer.c_str());
  msginfo("%s", longer.c_str());
  msginfo("%s", shorter.c_str());
  msginfo("%s", shorter.c_str());

  EXPECT_EQ(log.lines().size(), 3U);
}

TEST_F(MessageLog, ForgetsARepeatAtTheEndOfTheRun) {
  const LogCapture log;

  msginfo("same");
  msginfo("same");
  msginfo("same");
  msg_close();

  EXPECT_EQ(log.lines(), (Lines{"INFO : same"}));
}

TEST_F(MessageLog, ForgetsRepeatsWhenItIsTold) {
  const LogCapture log;
  msginfo("same");
  msginfo("same");
  msginfo("same");

  forget_repeats();
  msginfo("same");
  msginfo("other");

  EXPECT_EQ(log.lines(), (Lines{"INFO : same", "INFO : same", "INFO : other"}));
}

TEST_F(MessageLog, ForgetsTheShortestLineToo) {
  const LogCapture log;
  msginfo("x");

  forget_repeats();
  msginfo("x");

  EXPECT_EQ(log.lines(), (Lines{"INFO : x", "INFO : x"}));
}

TEST_F(MessageLog, CutsALineAtItsLastCharacterThatFits) {
  for (const std::size_t length : {8189U, 8190U, 8191U}) {
    const LogCapture log;
    msginfo("%s", std::string(length, 'x').c_str());
    EXPECT_EQ(log.lines(),
              Lines{"INFO : " + std::string(std::min<std::size_t>(length, 8190), 'x')});
  }
}

TEST_F(MessageLog, ComparesTheFirstLineWithNone) {
  const LogCapture log;
  std::FILE* const stream = msg_get_file();
  msg_close();
  msg_open(stream);
  msginfo("%s", "");

  msgcont("x");
  msgcont("x");

  EXPECT_EQ(log.lines(), (Lines{"     : x", "     : x"}));
}

// Of a line that was written before, not even the length counts.
TEST_F(MessageLog, ComparesTheFirstLineWithNoneOfAnEarlierLog) {
  const LogCapture log;
  msginfo("y");
  std::FILE* const stream = msg_get_file();
  msg_close();
  msg_open(stream);
  msginfo("%s", "");

  msgcont("x");
  msgcont("x");

  EXPECT_EQ(log.lines(), (Lines{"INFO : y", "     : x", "     : x"}));
}

TEST_F(MessageLog, ContinuesNoHeadOfAnEarlierLog) {
  {
    const LogCapture before;
    msgerror("head");
  }
  const LogCapture log;

  EXPECT_EQ(msgcont("no"), 0);

  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(MessageLog, WritesNothingOnceItCouldNotBeOpenedAgain) {
  const LogCapture log;
  {
    const test::AllocationRefusal refusal(8192);
    msg_open(stderr);
  }

  EXPECT_EQ(msgerror("nowhere"), 0);
}

TEST_F(MessageLog, SharesTheTextOfTheCodeItWasGiven) {
  const LogCapture log;
  port::set_last_system_error(2);
  const char* const shared = os_errormsg();
  port::set_last_system_error(0);

  msg_os_error("Title", 5);

  EXPECT_EQ(log.lines(), Lines{"ERROR: Title : 'No Error'"});
  EXPECT_STREQ(shared, SystemErrorText(5).c_str());
}

TEST_F(MessageLog, ForgetsTheOverrideWhenItIsTold) {
  const LogCapture log;
  msg_repeatdisplayoverride();

  forget_repeats();
  msginfo("same");
  msginfo("same");

  EXPECT_EQ(log.lines(), (Lines{"INFO : same"}));
}

TEST_F(MessageLog, BeginsWithoutRepeatsWhenItIsOpenedAgain) {
  const LogCapture log;
  msginfo("same");
  msginfo("same");
  msginfo("same");
  std::FILE* const stream = msg_get_file();
  msg_close();

  msg_open(stream);
  msginfo("same");
  msginfo("other");

  EXPECT_EQ(log.lines(), (Lines{"INFO : same", "INFO : same", "INFO : other"}));
}

TEST_F(MessageLog, HasNoRepeatToFlushWhenItIsOpenedAgain) {
  const LogCapture log;
  std::FILE* const stream = msg_get_file();
  msg_close();
  msg_open(stream);
  msg_repeatdisplayoverride();

  msginfo("same");
  msginfo("same");

  EXPECT_EQ(log.lines(), (Lines{"INFO : same", "INFO : same"}));
}

// Each in a process of its own: what a log begins with, tests before it have changed.
TEST(FirstLogDeathTest, IsClosedUntilItIsOpened) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(msg_getlevel() == -1 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(FirstLogDeathTest, FoldsIdenticalLines) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        start_clock();
        msg_open(nullptr);
        for (int i = 0; i < 3; ++i) {
          msgwarn("same");
        }
        msgwarn("other");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "# : Repeated 2 times");
}

TEST_F(MessageLog, OverrideWritesIdenticalLinesUntilACountIsFlushed) {
  const LogCapture log;
  msginfo("same");
  msginfo("same");
  msg_repeatdisplayoverride();

  msginfo("same");  // Flushes the pending count of 1, silently, and ends the override.
  msginfo("same");

  EXPECT_EQ(log.lines(), (Lines{"INFO : same", "INFO : same"}));
}

TEST_F(MessageLog, KeepsTheOverrideWhileNoRepeatIsPending) {
  const LogCapture log;
  msg_repeatdisplayoverride();

  msginfo("same");
  msginfo("same");
  msginfo("other");
  msginfo("other");

  EXPECT_EQ(log.lines().size(), 4U);
}

TEST_F(MessageLog, KeepsTheLengthOfTheHeadForContinuations) {
  const LogCapture log;

  msginfo("abc");
  msgcont("xyz");  // Stored, with the head's length.
  msginfo("xyz");  // Therefore counts as a repeat.
  msginfo("end");

  EXPECT_EQ(log.lines(), (Lines{"INFO : abc", "     : xyz", "INFO : end"}));
}

// A text that begins with a zero is empty and writes nothing, but has been formatted all the same.
TEST_F(MessageLog, KeepsTheFormattingAreaSharedWithThePreviousLine) {
  const LogCapture log;
  msginfo("same");

  msginfo("%c%s", '\0', std::string(5000, 'x').c_str());
  msginfo("same");
  msginfo("same");

  EXPECT_EQ(log.lines(), (Lines{"INFO : same", "INFO : same"}));
}

// The remembered line begins 4096 characters behind the one that is formatted.
TEST_F(MessageLog, SharesItToTheCharacter) {
  for (const std::size_t length : {4094U, 4095U}) {
    const LogCapture log;
    msginfo("same");
    msginfo("%c%s", '\0', std::string(length, 'x').c_str());
    msginfo("same");

    EXPECT_EQ(log.lines().size(), length == 4094 ? 1U : 2U);
  }
}

TEST_F(MessageLog, GivesTheTextOfTheLastSystemError) {
  port::set_last_system_error(0);
  EXPECT_STREQ(os_errormsg(), "No Error");

  port::set_last_system_error(2);
  const std::string text = os_errormsg();
  EXPECT_FALSE(text.empty());
  EXPECT_EQ(std::string("\r\n ").find(text.back()), std::string::npos) << text;
  EXPECT_EQ(port::last_system_error(), 2U);
}

TEST_F(MessageLog, WritesTheSystemErrorAtErrorLevel) {
  for (const unsigned code : {1U, 2U}) {
    SCOPED_TRACE(code);
    const LogCapture log(0);
    port::set_last_system_error(code);
    const std::string reason = os_errormsg();

    msg_os_error("Title");

    EXPECT_NE(reason, "No Error");
    EXPECT_EQ(log.lines(), (Lines{"ERROR: Title : '" + reason + "'"}));
  }
}

TEST_F(MessageLog, KeepsTheThreadsLastErrorInTheLineOfAGivenCode) {
  const LogCapture log;
  port::set_last_system_error(2);
  const std::string reason = os_errormsg();

  msg_os_error("Title", 5);

  EXPECT_EQ(log.lines(), (Lines{"ERROR: Title : '" + reason + "'"}));
}

TEST_F(MessageLog, WritesNothingForTheErrorCodeZero) {
  const LogCapture log;

  msg_os_error("Title", 0);

  EXPECT_EQ(log.text(), "");
}

TEST_F(MessageLog, WritesAGivenCodeWhateverTheLevel) {
  const LogCapture log;
  msg_setlevel(-1);

  msg_os_error("silenced");
  msg_os_error("written", 5);

  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(MessageLog, DoesNotChangeTheLastLevelForSystemErrors) {
  const LogCapture log(1);
  msginfo("filtered");

  msg_os_error("Title", 5);

  EXPECT_EQ(msgcont("no"), 0);
}

TEST_F(MessageLog, PreservesTheLastSystemError) {
  const LogCapture log;
  port::set_last_system_error(5);

  msgerror("line");
  msgcont("line 2");
  msglist("line 3");

  EXPECT_EQ(port::last_system_error(), 5U);
}

// The same rules written naively: whole strings, no shared buffer.
class NaiveLog {
 public:
  void write(int level, const std::string& text) {
    if (text.empty()) {
      return;
    }
    if (text.size() < 256 && text.size() == stored_length_ &&
        store_.compare(0, text.size(), text) == 0) {
      ++repeats_;
      return;
    }
    if (repeats_ > 1) {
      output_ += "               # : Repeated " + std::to_string(repeats_) + " times\n";
    }
    repeats_ = 0;
    const std::string line = text.back() == '\n' ? text : text + "\n";
    const std::size_t kept = std::min<std::size_t>(text.size(), 256);
    if (level == 5) {
      output_ += "                 : " + line;
      store_.replace(0, kept + 2, (line + '\0' + '\0').substr(0, kept + 2));
    } else {
      output_ += (level == 0 ? "ERROR: " : "INFO : ") + line;
      store_.replace(0, kept, text.substr(0, kept));
      stored_length_ = kept;
    }
  }
  [[nodiscard]] const std::string& output() const { return output_; }

 private:
  std::string store_ = std::string(300, '\0');
  std::size_t stored_length_ = 0;
  int repeats_ = 0;
  std::string output_;
};

TEST_F(MessageLog, AgreesWithANaiveModelOverRandomLines) {
  const unsigned seed = 20260921;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const LogCapture log;
  NaiveLog model;
  const char* texts[] = {"a", "b", "ab", "a\n", "longer line", ""};
  msginfo("start");
  model.write(2, "start");

  for (int i = 0; i < 3000; ++i) {
    const std::string text = random() % 8 == 0 ? std::string(250 + random() % 10, 'z')
                                               : texts[random() % std::size(texts)];
    const int level = random() % 3 == 0 ? 5 : (random() % 2 == 0 ? 2 : 0);
    model.write(level, text);
    if (level == 5) {
      msgcont("%s", text.c_str());
    } else {
      msg(level, "%s", text.c_str());
    }
  }

  std::string written;
  for (const std::string& line : log.lines()) {
    // The capture took the heads' time away, and as much of the other lines' blanks.
    const bool has_head = line.starts_with("ERROR") || line.starts_with("INFO ");
    written += (has_head ? "" : "            ") + line + "\n";
  }
  EXPECT_EQ(written, model.output());
}

TEST_F(MessageLog, ShowsEachThreadItsOwnErrorInItsLines) {
  constexpr int kThreads = 4;
  const LogCapture log;
  std::vector<std::thread> threads;
  std::string expected[kThreads];
  for (unsigned t = 0; t < kThreads; ++t) {
    const unsigned code = t + 2;
    expected[t] =
        "ERROR: thread " + std::to_string(t) + " : '" + SystemErrorText(code).c_str() + "'";
    threads.emplace_back([t, code] {
      const std::string title = "thread " + std::to_string(t);
      for (int i = 0; i < 2000; ++i) {
        port::set_last_system_error(code);
        msg_os_error(title.c_str(), 50 + i % 10);
        os_errormsg();
        msg_repeatdisplayoverride();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  int count = 0;
  for (const std::string& line : log.lines()) {
    if (line.starts_with("ERROR")) {
      ++count;
      ASSERT_NE(std::find(std::begin(expected), std::end(expected), line), std::end(expected))
          << line;
    }
  }
  EXPECT_GT(count, kThreads);
}

TEST_F(MessageLog, TearsAndLosesNoLineOfManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kLines = 20000;
  const LogCapture log;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kLines; ++i) {
        msginfo("thread %d line %d", t, i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  int next[kThreads] = {};
  for (const std::string& line : log.lines()) {
    int thread = -1;
    int number = -1;
    ASSERT_EQ(std::sscanf(line.c_str(), "INFO : thread %d line %d", &thread, &number), 2) << line;
    ASSERT_EQ(number, next[thread]++) << line;
  }
  for (const int count : next) {
    EXPECT_EQ(count, kLines);
  }
}

}  // namespace
}  // namespace orsin
