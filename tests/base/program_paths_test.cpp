#include "base/program_paths.h"

#include <gtest/gtest.h>

#include <string>

#include "orsincore/startup.h"

namespace orsin {
namespace {

std::string code_path(const char* module) {
  char code[kPathBytes];
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
  std::snprintf(paths.search_list, sizeof(paths.search_list), "what was there before");

  write_search_list(paths, paths.search_list, sizeof(paths.search_list));

  EXPECT_STREQ(paths.search_list, "D:\\Data\\Settings;C:\\App\\Settings;C:\\App\\bin64;");
}

TEST(SearchList, IsCutWhereItDoesNotFit) {
  ProgramPaths paths = {};
  std::snprintf(paths.module, sizeof(paths.module), "C:\\App\\bin64\\app.exe");
  std::snprintf(paths.data, sizeof(paths.data), "D:\\Data");
  std::snprintf(paths.default_settings, sizeof(paths.default_settings), "C:\\App\\Settings");
  char list[24];

  write_search_list(paths, list, sizeof(list));

  EXPECT_STREQ(list, "D:\\Data\\Settings;C:\\App");
}

TEST(LogPath, StandsBelowTheDataPath) {
  char directory[kPathBytes];
  char file[kPathBytes];
  write_log_path("D:\\Data", "Take", directory, file);
  EXPECT_STREQ(directory, "D:\\Data\\Settings\\logs");
  EXPECT_STREQ(file, "D:\\Data\\Settings\\logs\\Take.log");
}

TEST(LogPath, HasOneSeparatorBelowARoot) {
  char directory[kPathBytes];
  char file[kPathBytes];
  write_log_path("\\", "Take", directory, file);
  EXPECT_STREQ(directory, "\\Settings\\logs");
}

TEST(LogPath, FallsBackToTheNameAloneWhenTooLong) {
  char directory[kPathBytes];
  char file[kPathBytes];
  write_log_path(std::string(250, 'x').c_str(), "Take", directory, file);
  EXPECT_STREQ(directory, "");
  EXPECT_STREQ(file, "Take.log");
}

TEST(LogPath, IsTheNameAloneWhereOnlyTheDirectoryFits) {
  char directory[kPathBytes];
  char file[kPathBytes];
  const std::string data(240, 'x');

  write_log_path(data.c_str(), "Take", directory, file);

  EXPECT_EQ(directory, data + "\\Settings\\logs");
  EXPECT_STREQ(file, "Take.log");
}

TEST(LogPath, IsWholeUpToTheLastCharacterThatFits) {
  char directory[kPathBytes];
  char file[kPathBytes];
  const std::string below = "\\Settings\\logs\\Take.log";
  const std::string fits(kPathBytes - 1 - below.size(), 'x');

  write_log_path(fits.c_str(), "Take", directory, file);
  EXPECT_EQ(file, fits + below);

  write_log_path((fits + "x").c_str(), "Take", directory, file);
  EXPECT_STREQ(file, "Take.log");
}

TEST(ModuleName, IsCopiedAsFarAsItFits) {
  std::snprintf(program_paths().module, kPathBytes, "C:\\App\\app.exe");
  char whole[kPathBytes];
  char cut[7];

  EXPECT_TRUE(ov_modulename(whole, sizeof(whole)));
  EXPECT_TRUE(ov_modulename(cut, sizeof(cut)));

  EXPECT_STREQ(whole, "C:\\App\\app.exe");
  EXPECT_STREQ(cut, "C:\\App");
  program_paths() = {};
}

TEST(ModuleName, IsWrittenNowhereWithoutABufferOrRoom) {
  std::snprintf(program_paths().module, kPathBytes, "C:\\App\\app.exe");
  char name[kPathBytes] = "zz";

  EXPECT_TRUE(ov_modulename(nullptr, sizeof(name)));
  EXPECT_TRUE(ov_modulename(name, -1));
  EXPECT_TRUE(ov_modulename(name, 0));
  EXPECT_STREQ(name, "zz");
  EXPECT_TRUE(ov_modulename(name, 1));
  EXPECT_STREQ(name, "");
  program_paths() = {};
}

TEST(ModuleName, MayBeOneCharacter) {
  std::snprintf(program_paths().module, kPathBytes, "a");
  char name[kPathBytes];

  EXPECT_TRUE(ov_modulename(name, sizeof(name)));

  EXPECT_STREQ(name, "a");
  program_paths() = {};
}

TEST(ModuleName, IsUnknownBeforeStartUp) {
  char name[kPathBytes] = "x";

  EXPECT_FALSE(ov_modulename(name, sizeof(name)));

  EXPECT_STREQ(name, "");
}

}  // namespace
}  // namespace orsin
