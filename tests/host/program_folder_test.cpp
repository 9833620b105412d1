// Where a started program finds its code, data, settings and log.
#include <filesystem>

#include "tests/host/child_process.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

class ProgramFolder : public test::HostTest {
 protected:
  ProgramFolder() {
    SetEnvironmentVariableW(L"ORSIN_TEST_DATA", nullptr);
    std::filesystem::create_directories(test::to_path(program() + "bin64"));
    std::filesystem::create_directories(test::to_path(program() + "Settings"));
    SetEnvironmentVariableW(L"ORSIN_TEST_MODULE",
                            test::to_path(program() + "bin64\\app.exe").c_str());
    SetEnvironmentVariableW(L"ProgramData", test::to_path(directory().path("common")).c_str());
  }
  ~ProgramFolder() override { SetEnvironmentVariableW(L"ORSIN_TEST_MODULE", nullptr); }

  [[nodiscard]] std::string program() const { return directory().path("App") + "\\"; }

  void mark_self_contained() const { directory().write("App\\Settings\\System.reg", "x"); }
};

TEST_F(ProgramFolder, AMarkedInstallationKeepsItsDataBesideItsCode) {
  mark_self_contained();

  EXPECT_EQ(run("paths"), 0);

  const std::string expected = "module 1 " + program() + "bin64\\app.exe\ncode " + program() +
                               "\ndata " + program() + "\nsettings " + program() +
                               "Settings\nlog " + program() + "Settings\\logs\\" + name() + ".log";
  EXPECT_NE(output().find(expected), std::string::npos) << output() << "\nexpected\n" << expected;
}

TEST_F(ProgramFolder, TheNamedVariableGoesBeforeTheMark) {
  mark_self_contained();
  const std::string data = directory().path("Daten für Schnitt");
  SetEnvironmentVariableW(L"ORSIN_TEST_DATA", test::to_path(data).c_str());

  EXPECT_EQ(run("paths"), 0);

  EXPECT_NE(output().find("\ndata " + data + "\n"), std::string::npos) << output();
  EXPECT_TRUE(
      std::filesystem::exists(test::to_path(data + "\\Settings\\logs\\" + name() + ".log")));
}

TEST_F(ProgramFolder, WithoutAMarkTheDataLiesInTheCommonFolderOfTheApplication) {
  EXPECT_EQ(run("paths"), 0);

  const std::string text = output();
  const std::size_t data = text.find("\ndata ");
  ASSERT_NE(data, std::string::npos) << text;
  const std::string path = text.substr(data + 6, text.find('\n', data + 6) - data - 6);
  EXPECT_EQ(path.substr(path.rfind('\\') + 1), name());
  EXPECT_EQ(text.find("\ndata " + program()), std::string::npos) << text;
  std::filesystem::remove_all(test::to_path(path));
}

}  // namespace
}  // namespace orsin
