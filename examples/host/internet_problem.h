// What the system's codes of failed internet calls mean to whoever typed the address.
#pragma once

#include <string>

namespace host {

/// A reason to show. The codes from 12000 on have no text in the system's table, so they are told
/// here; the others by the system's text as the library gives it, which may be empty.
std::string internet_problem(unsigned long code, const std::string& system_text);

}  // namespace host
