#include "core/program_paths.h"

#include <gtest/gtest.h>

#include <string>

#include "core/instance.h"

namespace orsin {
namespace {

std::string code_path(const char* module) {
  char code[kProgramPathBytes];
  write_code_path(module, code);
  return code;
}

TEST(CodePath, EndsBeforeBin64) {
  EXPECT_EQ(code_path("C:\\App\\bin64\\app.exe"), "C:\\App\\");
}

TEST(CodePath, KeepsTheWholeModulePathWithoutBin64) {
  EXPECT_EQ(code_path("C:\\App\\app.exe"), "C:\\App\\app.exe");
  EXPECT_EQ(code_path(""), "");
}

TEST(SearchList, NamesSettingsAndTheModulesDirectory) {
  ProgramPaths paths = {};
  std::snprintf(paths.module, sizeof(paths.module), "C:\\App\\bin64\\app.exe");
  std::snprintf(paths.data, sizeof(paths.data), "D:\\Data\\");
  std::snprintf(paths.default_settings, sizeof(paths.default_settings), "C:\\App\\Settings");

  write_search_list(paths, paths.search_list, sizeof(paths.search_list));

  EXPECT_STREQ(paths.search_list, "D:\\Data\\Settings;C:\\App\\Settings;C:\\App\\bin64;");
}

TEST(LogPath, StandsBelowTheDataPath) {
  char directory[kProgramPathBytes];
  char file[kProgramPathBytes];
  write_log_path("D:\\Data", "Take", directory, file);
  EXPECT_STREQ(directory, "D:\\Data\\Settings\\logs");
  EXPECT_STREQ(file, "D:\\Data\\Settings\\logs\\Take.log");
}

TEST(LogPath, FallsBackToTheNameAloneWhenTooLong) {
  char directory[kProgramPathBytes];
  char file[kProgramPathBytes];
  write_log_path(std::string(250, 'x').c_str(), "Take", directory, file);
  EXPECT_STREQ(directory, "");
  EXPECT_STREQ(file, "Take.log");
}

TEST(InstanceArguments, FollowTheProgramsName) {
  EXPECT_STREQ(arguments_of("prog -x file"), "-x file");
  EXPECT_STREQ(arguments_of("\"C:\\App\\prog.exe\" -x file"), "-x file");
  EXPECT_STREQ(arguments_of("  prog"), "");
  EXPECT_STREQ(arguments_of(nullptr), "");
}

TEST(InstanceArguments, KeepsTheRestOfAQuotedPathWithABlank) {
  EXPECT_STREQ(arguments_of("\"C:\\My App\\prog.exe\" -x"), "App\\prog.exe\" -x");
}

}  // namespace
}  // namespace orsin
