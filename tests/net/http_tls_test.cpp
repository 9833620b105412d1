// HTTPS with certificates that were made a moment ago: trusted, expired, made out to another name,
// and signed by nobody whom the system trusts.
#include <gtest/gtest.h>

#include <string>

#include "base/win/windows.h"
#include "orsincore/network.h"
#include "tests/net/large_answer.h"
#include "tests/net/servers.h"
#include "tests/support/temporary_directory.h"

#include <wincrypt.h>

namespace orsin {
namespace {

using test::get;
using test::TemporaryDirectory;
using test::tls_url;

constexpr unsigned kCertificateExpired = 12037;
constexpr unsigned kCertificateOtherName = 12038;

class RootStore {
 public:
  RootStore()
      : store_(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER,
                             "Root")) {}
  ~RootStore() { CertCloseStore(store_, 0); }  // Wine writes the registry only now.
  RootStore(const RootStore&) = delete;
  RootStore& operator=(const RootStore&) = delete;

  [[nodiscard]] HCERTSTORE get() const { return store_; }

 private:
  HCERTSTORE store_;
};

// Trusts the tests' own authority for as long as it lives. On Windows the user has to agree in a
// dialogue; Wine asks nobody.
class TrustedAuthority {
 public:
  TrustedAuthority() {
    const std::string encoded = TemporaryDirectory::read(test::authority_file());
    const RootStore store;
    const BOOL added = CertAddEncodedCertificateToStore(
        store.get(), X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(encoded.data()),
        static_cast<DWORD>(encoded.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    EXPECT_NE(added, FALSE) << GetLastError();
  }
  ~TrustedAuthority() {
    const RootStore store;
    PCCERT_CONTEXT found = nullptr;
    while ((found = CertFindCertificateInStore(store.get(), X509_ASN_ENCODING, 0,
                                               CERT_FIND_SUBJECT_STR_A, "OrsinCore loopback tests",
                                               nullptr)) != nullptr) {
      if (CertDeleteCertificateFromStore(found) == FALSE) {
        ADD_FAILURE() << "the tests' authority stays trusted: " << GetLastError();
        break;
      }
    }
  }
  TrustedAuthority(const TrustedAuthority&) = delete;
  TrustedAuthority& operator=(const TrustedAuthority&) = delete;
};

class HttpTls : public testing::Test {
 protected:
  // The system reads its roots once a process.
  static void SetUpTestSuite() { authority_ = new TrustedAuthority; }
  static void TearDownTestSuite() {
    delete authority_;
    authority_ = nullptr;
  }

  std::string post(const std::string& certificate) {
    unsigned long long bytes = 0;
    const char* data = socket_.GetHttpData(tls_url(certificate, "/post").c_str(), OV_HTTP_POST,
                                           "x=1", -1, nullptr, &bytes);
    return data != nullptr ? std::string(data, bytes) : "(none)";
  }

  static inline TrustedAuthority* authority_ = nullptr;
  ov_http_socket socket_;
};

TEST_F(HttpTls, GetsFromATrustedServer) {
  EXPECT_TRUE(get(socket_, tls_url("TRUSTED", "/16384")) ==
              TemporaryDirectory::read(test::served_file("16384")))
      << test::last_error_code(socket_);
  EXPECT_EQ(socket_.GetStatusCode(), 200);
}

TEST_F(HttpTls, GetsLargeFilesFromATrustedServer) {
  EXPECT_TRUE(get(socket_, tls_url("TRUSTED", "/104857600")) ==
              TemporaryDirectory::read(test::served_file("104857600")));
}

TEST_F(HttpTls, GetsAGibibyteFromATrustedServer) {
  test::expect_gibibyte(socket_, tls_url("TRUSTED", "/1073741824"));
}

TEST_F(HttpTls, PostsToATrustedServer) {
  EXPECT_EQ(post("TRUSTED"), "POST over TLS") << test::last_error_code(socket_);
}

TEST_F(HttpTls, RefusesToGetFromAServerWhoseCertificateHasExpired) {
  EXPECT_EQ(get(socket_, tls_url("EXPIRED", "/1")), "(none)");
  EXPECT_EQ(test::last_error_code(socket_), kCertificateExpired);
  EXPECT_EQ(socket_.GetStatusCode(), 0);
}

TEST_F(HttpTls, PostsToAServerWhoseCertificateHasExpired) {
  EXPECT_EQ(post("EXPIRED"), "POST over TLS") << test::last_error_code(socket_);
}

TEST_F(HttpTls, RefusesToGetFromAServerOfAnotherName) {
  EXPECT_EQ(get(socket_, tls_url("OTHER_NAME", "/1")), "(none)");
  EXPECT_EQ(test::last_error_code(socket_), kCertificateOtherName);
}

TEST_F(HttpTls, PostsToAServerOfAnotherName) {
  EXPECT_EQ(post("OTHER_NAME"), "POST over TLS") << test::last_error_code(socket_);
}

TEST_F(HttpTls, RefusesAServerThatNobodyVouchesFor) {
  EXPECT_EQ(get(socket_, tls_url("SELF_SIGNED", "/1")), "(none)");
  EXPECT_NE(test::last_error_code(socket_), 0u);
  EXPECT_EQ(socket_.GetStatusCode(), 0);

  EXPECT_EQ(post("SELF_SIGNED"), "(none)");
  EXPECT_NE(test::last_error_code(socket_), 0u);
  EXPECT_EQ(socket_.GetStatusCode(), 0);
}

TEST_F(HttpTls, FailsAgainstAServerThatSpeaksPlainHttp) {
  socket_.SetSecureFlag(true);  // As it is by default: port 80 alone is taken for a plain one.

  EXPECT_EQ(
      socket_.GetHttpData(test::echo_url("/echo").c_str(), OV_HTTP_POST, "x", -1, nullptr, nullptr),
      nullptr);
  EXPECT_NE(test::last_error_code(socket_), 0u);
}

}  // namespace
}  // namespace orsin
