// The sample host as its user meets it: real command lines, files, output and exit codes, on any
// machine that has the host; tests/examples/sample-host asks for more where there is a shell.
#include "tests/host/child_process.h"
#include "tests/support/kit_path.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

std::string quoted(const std::string& text) {
  return "\"" + text + "\"";
}

class SampleHostProgram : public testing::Test {
 protected:
  SampleHostProgram() {
    SetEnvironmentVariableW(L"ORSIN_HOST_DATA", test::to_path(directory_.path("data")).c_str());
  }
  ~SampleHostProgram() override { SetEnvironmentVariableW(L"ORSIN_HOST_DATA", nullptr); }

  // Runs the host with these arguments; what it says is then in output().
  int host(const std::string& arguments) {
    const std::string said = directory_.path("output" + std::to_string(++runs_));
    const std::string program = test::kit_path("host/bin64/host.exe", ORSIN_TEST_SAMPLE_HOST);
    const int code = test::ChildProcess(quoted(program) + " " + arguments, said).wait();
    output_ = TemporaryDirectory::read(said);
    std::erase(output_, '\r');
    return code;
  }

  [[nodiscard]] bool says(const std::string& text) const {
    return output_.find(text) != std::string::npos;
  }
  [[nodiscard]] const std::string& output() const { return output_; }
  [[nodiscard]] const TemporaryDirectory& directory() const { return directory_; }

 private:
  TemporaryDirectory directory_;
  std::string output_;
  int runs_ = 0;
};

std::string bytes(std::size_t size) {
  std::string content(size, '\0');
  unsigned int state = 1;
  for (char& unit : content) {
    state = state * 1664525U + 1013904223U;
    unit = static_cast<char>(state >> 24);
  }
  return content;
}

TEST_F(SampleHostProgram, TellsItsCommandsAndRefusesOthers) {
  EXPECT_EQ(host("--help"), 0);
  EXPECT_TRUE(says("Usage: host")) << output();
  EXPECT_EQ(host("nonsense"), 2);
  EXPECT_TRUE(says("no command 'nonsense'")) << output();
  EXPECT_EQ(host("-x list ."), 2);
}

TEST_F(SampleHostProgram, ReportsTheMachineInItsLog) {
  EXPECT_EQ(host("report"), 0);
  EXPECT_TRUE(says("OrsinHost.log")) << output();
  EXPECT_TRUE(says("[Build: ")) << output();
}

TEST_F(SampleHostProgram, CopiesWithVerificationToSeveralPlaces) {
  const std::string content = bytes(9000001);
  const std::string source = directory().write("source", content);
  const std::string one = directory().path("a\\deep\\one");
  const std::string other = directory().path("Дубль é.mov");

  EXPECT_EQ(host("copy --verify " + quoted(source) + " " + quoted(one) + " " + quoted(other)), 0)
      << output();

  EXPECT_TRUE(says("verified")) << output();
  EXPECT_TRUE(TemporaryDirectory::read(one) == content);
  EXPECT_TRUE(TemporaryDirectory::read(other) == content);
}

TEST_F(SampleHostProgram, CopiesTheEmptyFile) {
  const std::string source = directory().write("empty", "");
  const std::string copy = directory().path("copy");

  EXPECT_EQ(host("copy --verify " + quoted(source) + " " + quoted(copy)), 0) << output();

  EXPECT_EQ(TemporaryDirectory::read(copy), "");
}

TEST_F(SampleHostProgram, WritesOverAFileOnlyWhenTold) {
  const std::string source = directory().write("source", "new");
  const std::string copy = directory().write("copy", "old");

  EXPECT_EQ(host("copy " + quoted(source) + " " + quoted(copy)), 1);
  EXPECT_TRUE(says("already exists")) << output();
  EXPECT_EQ(TemporaryDirectory::read(copy), "old");

  EXPECT_EQ(host("copy --overwrite " + quoted(source) + " " + quoted(copy)), 0) << output();
  EXPECT_EQ(TemporaryDirectory::read(copy), "new");
}

TEST_F(SampleHostProgram, FailsOnASourceThatIsNotThere) {
  EXPECT_EQ(
      host("copy " + quoted(directory().path("nowhere")) + " " + quoted(directory().path("copy"))),
      1);
  EXPECT_EQ(host("hash " + quoted(directory().path("nowhere"))), 1);
}

TEST_F(SampleHostProgram, HashesAFile) {
  const std::string file = directory().write("file", "abc");

  EXPECT_EQ(host("hash " + quoted(file)), 0);

  EXPECT_TRUE(says("900150983cd24fb0d6963f7d28e17f72")) << output();
  EXPECT_TRUE(says("a9993e364706816aba3e25717850c26c9cd0d89d")) << output();
  EXPECT_TRUE(says("44bc2cf5ad770999")) << output();
}

TEST_F(SampleHostProgram, ListsInNaturalOrder) {
  directory().write("takes/take10.wav", "ten");
  directory().write("takes/take9.wav", "nine");
  directory().write("takes/sub/x", "");

  EXPECT_EQ(host("list " + quoted(directory().path("takes"))), 0);

  const std::size_t folder = output().find(" sub\n");
  const std::size_t nine = output().find(" take9.wav\n");
  const std::size_t ten = output().find(" take10.wav\n");
  EXPECT_LT(folder, nine) << output();
  EXPECT_LT(nine, ten) << output();
  EXPECT_NE(ten, std::string::npos) << output();
}

TEST_F(SampleHostProgram, ScansDates) {
  EXPECT_EQ(host("date --scan \"%Y-%m-%d %H:%M:%S\" \"2024-03-05 08:07:09 and more\""), 0);
  EXPECT_TRUE(says("xml      2024-03-05T08:07:09")) << output();
  EXPECT_TRUE(says("day      Tuesday, day 65 of 366 in 2024")) << output();
}

TEST_F(SampleHostProgram, OrdersTextsOfBothDirections) {
  EXPECT_EQ(host("bidi \"abc אבג\""), 0);
  EXPECT_TRUE(says("visual   abc גבא")) << output();
  EXPECT_TRUE(says("levels   0 0 0 0 1 1 1")) << output();
}

TEST_F(SampleHostProgram, SpeaksTheLanguageOfTheSettings) {
  directory().write("data/Settings/language.cfg", "language=de_DE\r\r\n");

  EXPECT_EQ(host("tr \"Save project\""), 0);
  EXPECT_TRUE(says("Projekt speichern")) << output();
  EXPECT_EQ(host("tr --context menu Open"), 0);
  EXPECT_TRUE(says("Öffnen")) << output();
}

TEST_F(SampleHostProgram, PassesTheExitCodeOfAProgramOn) {
  const std::string child = test::kit_path("tests/plugins/spawn_child.exe", ORSIN_TEST_CHILD);

  for (const int code : {0, 3, 42}) {
    EXPECT_EQ(host("run " + quoted(child) + " exit " + std::to_string(code)), code) << output();
  }
  EXPECT_EQ(host("run orsin-no-such-program --version"), 1);
  EXPECT_TRUE(says("cannot start orsin-no-such-program")) << output();
}

TEST_F(SampleHostProgram, RunsAFunctionOfALibrary) {
  const std::string plugin = test::kit_path("tests/plugins", ORSIN_TEST_PLUGINS) + "\\plugin_plain";

  EXPECT_EQ(host("rundll " + quoted(plugin) + " plugin_main one \"two words\" --help"), 4);
  EXPECT_TRUE(says("2: two words")) << output();
  EXPECT_EQ(host("rundll " + quoted(plugin) + " absent"), 1);
}

TEST_F(SampleHostProgram, DrawsTheHeaps) {
  const std::string picture = directory().path("heaps.svg");

  EXPECT_EQ(host("heaps --svg " + quoted(picture)), 0) << output();

  EXPECT_NE(TemporaryDirectory::read(picture).find("</svg>"), std::string::npos);
}

}  // namespace
}  // namespace orsin
