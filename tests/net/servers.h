// The servers that tests/net/with-servers has started, and what tests need to talk about them.
#pragma once

#include <string>

#include "orsincore/network.h"

namespace orsin::test {

/// "http://127.0.0.1:PORT/path" of nginx, of the echoing server, of the one that breaks the rules.
std::string nginx_url(const std::string& path);
std::string echo_url(const std::string& path);
std::string broken_url(const std::string& path);

/// "https://localhost:PORT/path" with one of the certificates: "TRUSTED", "EXPIRED", "OTHER_NAME",
/// "SELF_SIGNED". The first three are signed by the tests' own authority.
std::string tls_url(const std::string& certificate, const std::string& path);

/// A file that nginx serves, and the authority's certificate, as Windows paths.
std::string served_file(const std::string& name);
std::string authority_file();

/// The bytes that the echoing server makes up.
std::string pattern(std::size_t size);

/// What GetHttpData() returned, and "(none)" for null.
std::string get(ov_http_socket& socket, const std::string& url);

/// The stored code, which the client shows only as a text. Reads the documented layout.
unsigned last_error_code(const ov_http_socket& socket);

/// True under Wine, whose internet library differs from the original in a few places.
bool under_wine();

}  // namespace orsin::test
