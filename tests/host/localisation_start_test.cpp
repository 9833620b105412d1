// Localisation at its place in start-up, in a child process with catalogues in its data folder.
#include "tests/host/child_process.h"
#include "tests/support/kit_path.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

using HostLocalisation = test::HostTest;

TEST_F(HostLocalisation, TranslatesOnceStartUpIsDone) {
  directory().write("locale/languages", "0:System Default:x\n2:Polski:pl_PL\n");
  directory().write(
      "locale/pl/LC_MESSAGES/korvane.mo",
      TemporaryDirectory::read(test::kit_path("catalogues/pl.mo", ORSIN_TEST_CATALOGUES "/pl.mo")));
  directory().write("Settings/language.cfg", "language=pl_PL\r\r\n");

  EXPECT_EQ(run("locale"), 0);

  EXPECT_NE(log().find("INFO : locale 'pl_PL', text 'Otwarty'"), std::string::npos) << log();
  EXPECT_EQ(log().find("Failed to open 'locale'"), std::string::npos) << log();
  EXPECT_NE(log().find("* Closed normally"), std::string::npos) << log();
}

TEST_F(HostLocalisation, IsMissedAfterTheHeapsAndBeforeTheOwner) {
  EXPECT_EQ(run("locale"), 0);

  const std::string text = log();
  std::size_t position = 0;
  for (const char* line :
       {"Memory setup:", "ERROR: Failed to open 'locale' data path. No language support available.",
        ": Locale path: ", "---------------------------------------------------",
        "Privilege level : ", "INFO : locale '', text 'Open'"}) {
    position = text.find(line, position);
    ASSERT_NE(position, std::string::npos) << line << "\n" << text;
  }
}

}  // namespace
}  // namespace orsin
