#include "tests/platform/native/fake_transfers.h"

#include "tests/platform/native/transfer_script.h"

namespace orsin::test {
namespace {

using Guard = std::lock_guard<std::mutex>;

void forget_script() {
  TransferScript& script = transfer_script();
  script.next.clear();
  script.every = {};
  script.ends_by_release_only = script.refuses_events = false;
  script.time_outs = script.interruptions = script.wait_failures = script.size_refusals = 0;
  script.size_questions_refused = 0;
  script.wait_error = script.size_error = script.zeroing_error = 0;
  script.opens.clear();
  script.is_watched = false;
  script.most_pending = 0;
  script.cancellations = 0;
  script.started.clear();
  script.opened.clear();
  script.sizes.clear();
  script.volume_root.clear();
}

}  // namespace

FakeTransfers::FakeTransfers() {
  const Guard guard(transfer_script().mutex);
  forget_script();
  transfer_script().is_watched = true;
}

FakeTransfers::~FakeTransfers() {
  release_all();
  const Guard guard(transfer_script().mutex);
  forget_script();
}

void FakeTransfers::next(const TransferFate& fate) {
  const Guard guard(transfer_script().mutex);
  transfer_script().next.push_back(fate);
}

void FakeTransfers::every(const TransferFate& fate) {
  const Guard guard(transfer_script().mutex);
  transfer_script().every = fate;
}

void FakeTransfers::release_all() {
  while (release_oldest()) {
  }
}

void FakeTransfers::refuse_events() {
  const Guard guard(transfer_script().mutex);
  transfer_script().refuses_events = true;
}

void FakeTransfers::ends_by_release_only() {
  const Guard guard(transfer_script().mutex);
  transfer_script().ends_by_release_only = true;
}

int FakeTransfers::pending_count() const {
  const Guard guard(transfer_script().mutex);
  return static_cast<int>(transfer_script().pending.size());
}

int FakeTransfers::most_pending() const {
  const Guard guard(transfer_script().mutex);
  return static_cast<int>(transfer_script().most_pending);
}

int FakeTransfers::cancellations() const {
  const Guard guard(transfer_script().mutex);
  return transfer_script().cancellations;
}

void FakeTransfers::time_out_waits(int count) {
  const Guard guard(transfer_script().mutex);
  transfer_script().time_outs = count;
}

void FakeTransfers::interrupt_waits(int count) {
  const Guard guard(transfer_script().mutex);
  transfer_script().interruptions = count;
}

void FakeTransfers::fail_waits(int count, std::uint32_t error) {
  const Guard guard(transfer_script().mutex);
  transfer_script().wait_failures = count;
  transfer_script().wait_error = error;
}

void FakeTransfers::next_open(const OpenFate& fate) {
  const Guard guard(transfer_script().mutex);
  transfer_script().opens.push_back(fate);
}

void FakeTransfers::refuse_sizes(int count, std::uint32_t error) {
  const Guard guard(transfer_script().mutex);
  transfer_script().size_refusals = count;
  transfer_script().size_error = error;
}

void FakeTransfers::refuse_zeroing(std::uint32_t error) {
  const Guard guard(transfer_script().mutex);
  transfer_script().zeroing_error = error;
}

void FakeTransfers::refuse_size_questions(int count) {
  const Guard guard(transfer_script().mutex);
  transfer_script().size_questions_refused = count;
}

std::vector<StartedTransfer> FakeTransfers::started() const {
  const Guard guard(transfer_script().mutex);
  return transfer_script().started;
}

std::vector<port::OpenMode> FakeTransfers::opened() const {
  const Guard guard(transfer_script().mutex);
  return transfer_script().opened;
}

std::vector<std::uint64_t> FakeTransfers::sizes() const {
  const Guard guard(transfer_script().mutex);
  return transfer_script().sizes;
}

std::string FakeTransfers::volume_root() const {
  const Guard guard(transfer_script().mutex);
  return transfer_script().volume_root;
}

}  // namespace orsin::test
