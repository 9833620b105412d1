#include "examples/host/internet_problem.h"

namespace host {
namespace {

constexpr struct {
  unsigned long code;
  const char* meaning;
} kMeanings[] = {
    {12002, "the server did not answer in time"},
    {12005, "this is not a usable URL"},
    {12006, "the URL begins with neither http: nor https:"},
    {12007, "no server of this name is known"},
    {12009, "the internet library refused an option"},
    {12019, "the request cannot take data any more"},
    {12029, "no connection: nobody listens there, or a firewall is in the way"},
    {12030, "the connection broke off"},
    {12031, "the server reset the connection"},
    {12037, "the server's certificate has expired or is not valid yet"},
    {12038, "the server's certificate is made out to another name"},
    {12039, "the server redirects from http to https, which the Internet options forbid"},
    {12040, "the server redirects from https to http, which the Internet options forbid"},
    {12044, "the server asks for a certificate of the user"},
    {12045, "nobody known vouches for the server's certificate"},
    {12057, "whether the server's certificate was revoked cannot be found out"},
    {12152, "the server's answer is not HTTP"},
    {12157, "no secure connection: does the server speak https on this port?"},
    {12170, "the server's certificate was revoked"},
    {12175, "no secure connection: client and server agree on no way"},
};

constexpr unsigned long kInternetCodes = 12000;
constexpr unsigned long kInternetCodesEnd = 13000;

}  // namespace

std::string internet_problem(unsigned long code, const std::string& system_text) {
  if (code < kInternetCodes || code >= kInternetCodesEnd) {
    return system_text;
  }
  std::string number = "internet code " + std::to_string(code);
  for (const auto& known : kMeanings) {
    if (known.code == code) {
      return std::string(known.meaning) + " (" + number + ")";
    }
  }
  return number;
}

}  // namespace host
