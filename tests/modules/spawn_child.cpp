// A program for the spawner's tests:
//
//   exit CODE         ends with the code
//   wait EVENT CODE   ends with the code once the named event is set
//   number EVENT FILE writes its process identifier to the file, and ends once the event is set
//   show FILE ...     writes the arguments after FILE, as UTF-8, each with a zero byte
//
// Exit code 99: the run-time library's arguments and the system's differ.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/win/windows.h"

#include <shellapi.h>

namespace {

constexpr UINT kSplittersDiffer = 99;

std::string to_utf8(const wchar_t* wide) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
  text.pop_back();
  return text;
}

bool is_ascii(const std::string& text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      return false;
    }
  }
  return true;
}

void write_file(const std::string& path, const std::string& content) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  std::fwrite(content.data(), 1, content.size(), file);
  std::fclose(file);
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) {
    arguments.push_back(to_utf8(wide[i]));
  }
  bool is_same = argc == count;
  for (int i = 1; i < argc && is_same; ++i) {
    const std::string& argument = arguments[static_cast<std::size_t>(i)];
    is_same = !is_ascii(argument) || argument == argv[i];
  }
  if (!is_same) {
    ExitProcess(kSplittersDiffer);
  }

  const auto code_at = [&](std::size_t index) {
    return static_cast<UINT>(std::strtoul(arguments[index].c_str(), nullptr, 0));
  };
  if (arguments[1] == "exit") {
    ExitProcess(code_at(2));
  } else if (arguments[1] == "wait") {
    HANDLE event = OpenEventA(SYNCHRONIZE, FALSE, arguments[2].c_str());
    WaitForSingleObject(event, 60000);
    ExitProcess(code_at(3));
  } else if (arguments[1] == "number") {
    HANDLE event = OpenEventA(SYNCHRONIZE, FALSE, arguments[2].c_str());
    write_file(arguments[3], std::to_string(GetCurrentProcessId()));
    WaitForSingleObject(event, 60000);
    return 0;
  }
  std::string shown;
  for (std::size_t i = 3; i < arguments.size(); ++i) {
    shown += arguments[i] + '\0';
  }
  write_file(arguments[2], shown);
  return 0;
}
