// "hash": the digests of a file, in one read pass through the copy machinery.
#include <cstdio>
#include <memory>
#include <string>

#include "examples/host/command.h"
#include "examples/host/paths.h"
#include "examples/host/progress_line.h"
#include "orsincore/files.h"
#include "orsincore/text.h"

namespace host {
namespace {

struct StateDeleter {
  void operator()(XXH64_state_s* state) const { ov_XXH64_freeState(state); }
};

struct Hashes {
  ProgressLine progress;
  md5_state_s md5;
  SHA1Context sha1;
  std::unique_ptr<XXH64_state_s, StateDeleter> xxh64;
};

void on_block(void* user, unsigned char* data, unsigned long long length) {
  auto* hashes = static_cast<Hashes*>(user);
  if (data == nullptr) {
    return;  // The end of the data.
  }
  ov_md5_append(&hashes->md5, data, static_cast<int>(length));
  ov_SHA1Input(&hashes->sha1, data, static_cast<unsigned int>(length));
  ov_XXH64_update(hashes->xxh64.get(), data, static_cast<std::size_t>(length));
  hashes->progress.add(length);
}

void print_digests(Hashes& hashes, const std::string& path) {
  unsigned char digest[16];
  ov_md5_finish(&hashes.md5, digest);
  std::printf("md5    ");
  for (const unsigned char byte : digest) {
    std::printf("%02x", byte);
  }
  std::printf("  %s\nsha1   ", path.c_str());
  ov_SHA1Result(&hashes.sha1);
  for (const unsigned int word : hashes.sha1.Message_Digest) {
    std::printf("%08x", word);
  }
  std::printf("  %s\nxxh64  %016llx  %s\n", path.c_str(), ov_XXH64_digest(hashes.xxh64.get()),
              path.c_str());
}

int hash(const Arguments& arguments) {
  if (arguments.size() != 1) {
    return bad_usage(kHashCommand, "needs one file");
  }
  const std::string path = full_path(arguments[0]);
  const FastLibrary library;
  if (path.empty() || file_exists(path.c_str()) == 0) {
    return fail("no such file: " + arguments[0]);
  }
  const auto size = static_cast<std::uint64_t>(file_size(path.c_str()));
  Hashes hashes{ProgressLine("hashing", size), {}, {}, {}};
  hashes.xxh64.reset(ov_XXH64_createState());
  if (hashes.xxh64 == nullptr) {
    return fail("out of memory");
  }
  ov_md5_init(&hashes.md5);
  ov_SHA1Reset(&hashes.sha1);
  ov_XXH64_reset(hashes.xxh64.get(), 0);

  // Without destinations a copy only reads, and hands every block to the callback.
  unsigned long long bytes = 0;
  const int code = file_copy(path.c_str(), static_cast<const char**>(nullptr), false, bytes,
                             nullptr, nullptr, on_block, &hashes, true);
  if (code != 0 || bytes != size) {
    return fail("cannot read " + path);
  }
  print_digests(hashes, arguments[0]);
  return kDone;
}

}  // namespace

const Command kHashCommand = {
    "hash", "print the MD5, SHA-1 and XXH64 digests of a file",
    "Usage: host hash FILE\n"
    "\n"
    "Prints three lines: the name of the digest, its value in hexadecimal, the file.\n",
    hash};

}  // namespace host
