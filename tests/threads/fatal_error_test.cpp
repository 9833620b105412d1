// The block that the host's outermost exception handler writes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

TEST(ExceptionFilter, NamesTheFaultAndTheThreadBetweenTwoRules) {
  const std::string rule(56, '*');
  struct Case {
    unsigned int code;
    const char* line;
  };
  const Case cases[] = {{0xC0000094, "     : Fatal Error: Integer divide by zero, Thread: Unknown"},
                        {0xC0000005, "     : Fatal Error: Access violation, Thread: Unknown"},
                        {0xC00000FD, "     : Fatal Error, Exception: 0xc00000fd, Thread: Unknown"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    const test::LogCapture log;

    EXPECT_EQ(orsinExceptionFilter(static_cast<int>(c.code), nullptr), 1);

    EXPECT_EQ(log.lines(), (test::Lines{"ERROR: " + rule, c.line, "     : " + rule}));
  }
}

// The process may end right behind it.
TEST(ExceptionFilter, LeavesNothingInTheBufferOfTheStream) {
  const test::TemporaryDirectory directory;
  const std::string path = directory.path("fatal.log");
  std::FILE* stream = std::fopen(path.c_str(), "wb");
  ASSERT_NE(stream, nullptr);
  std::setvbuf(stream, nullptr, _IOFBF, 65536);
  msg_open(stream);

  orsinExceptionFilter(static_cast<int>(0xC0000094U), nullptr);

  const std::string rule(56, '*');
  const std::string text = test::TemporaryDirectory::read(path);
  EXPECT_EQ(text.substr(text.size() - std::min(text.size(), rule.size() + 1)), rule + "\n");
  msg_close();
  std::fclose(stream);
}

}  // namespace
}  // namespace orsin
