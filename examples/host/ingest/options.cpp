#include "examples/host/ingest/options.h"

#include <charconv>
#include <system_error>

namespace host::ingest {
namespace {

bool parse_jobs(const std::string& text, int& jobs) {
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, jobs);
  return error == std::errc() && stopped == end && jobs >= 1 && jobs <= kJobsMax;
}

bool* find_flag(const std::string& name, Options& options) {
  if (name == "--verify") {
    return &options.verify;
  }
  if (name == "--manifest") {
    return &options.manifest;
  }
  if (name == "--resume") {
    return &options.resume;
  }
  if (name == "--dry-run") {
    return &options.dry_run;
  }
  return name == "--plain" ? &options.plain : nullptr;
}

}  // namespace

std::string parse_options(const std::vector<std::string>& arguments, Options& options) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (bool* const flag = find_flag(argument, options)) {
      *flag = true;
    } else if (argument == "--jobs") {
      if (++i == arguments.size() || !parse_jobs(arguments[i], options.jobs)) {
        return "--jobs takes a number from 1 to " + std::to_string(kJobsMax);
      }
    } else if (argument == "--report") {
      if (++i == arguments.size() || arguments[i].empty()) {
        return "--report takes the name of a file";
      }
      options.report = arguments[i];
    } else if (argument.starts_with('-')) {
      return "no option " + argument;
    } else {
      names.push_back(argument);
    }
  }
  if (names.empty() || (names.size() < 2 && !options.dry_run)) {
    return "needs a card and at least one destination";
  }
  if (names.size() > kDestinationsMax + 1) {
    return "takes at most 16 destinations";
  }
  options.card = names.front();
  options.destinations.assign(names.begin() + 1, names.end());
  return {};
}

std::string parse_check_options(const std::vector<std::string>& arguments, Options& options) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--plain") {
      options.plain = true;
    } else if (argument == "--jobs") {
      if (++i == arguments.size() || !parse_jobs(arguments[i], options.jobs)) {
        return "--jobs takes a number from 1 to " + std::to_string(kJobsMax);
      }
    } else if (argument.starts_with('-')) {
      return "no option " + argument;
    } else if (!options.card.empty()) {
      return "takes one folder";
    } else {
      options.card = argument;
    }
  }
  return options.card.empty() ? "needs a folder" : "";
}

}  // namespace host::ingest
