// The block that the host's outermost exception handler writes.
#include <gtest/gtest.h>

#include "orsincore/startup.h"
#include "tests/support/log_capture.h"

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

}  // namespace
}  // namespace orsin
