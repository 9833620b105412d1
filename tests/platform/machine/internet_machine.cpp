// The internet library of a simulated machine: sessions, connections and requests, and what a server
// answers, soon or late, whole or in pieces, or to a point and no further.
//
// Handles are the machine's: what was opened on a handle ends with it, and its value is given out again.
#include "net/internet_port.h"

#include <algorithm>
#include <cstdio>

#include "tests/platform/internet_rules.h"
#include "tests/platform/machine/machine.h"
#include "tests/platform/url_split.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

struct InternetHandle : Object {
  InternetHandle(const InternetState& state, InternetHandle* parent, Page* page)
      : state(state), parent(parent), page(page) {}

  InternetState state;
  InternetHandle* parent;
  std::vector<void*> children;
  Page* page;  // A request's.
};

// Null for a handle that is null, with the error set.
std::shared_ptr<InternetHandle> opened(Call& call, void* handle) {
  if (handle == nullptr) {
    call.fail(kErrorInvalidHandle);
    return nullptr;
  }
  return machine().handles.get<InternetHandle>(handle);
}

// Null for one of another kind, too.
std::shared_ptr<InternetHandle> opened_as(Call& call, InternetKind kind, void* handle) {
  const auto found = opened(call, handle);
  return found && call.answer(error_as(kind, found->state)) ? found : nullptr;
}

// And for a request that was not sent.
std::shared_ptr<InternetHandle> sent_request(Call& call, void* handle) {
  const auto found = opened(call, handle);
  return found && call.answer(error_as_sent(found->state)) ? found : nullptr;
}

void* open_on(InternetHandle* parent, const InternetState& state, Page* page) {
  const auto opened = std::make_shared<InternetHandle>(state, parent, page);
  void* handle = machine().handles.open(opened);
  if (parent != nullptr) {
    parent->children.push_back(handle);
  }
  return handle;
}

void close_with_children(void* handle) {
  const auto closed = machine().handles.get<InternetHandle>(handle);
  for (void* child : std::vector<void*>(closed->children)) {
    close_with_children(child);
  }
  if (closed->parent != nullptr) {
    std::erase(closed->parent->children, handle);
  }
  machine().handles.close(handle);
}

// A request sets out for the page.
Page& page_at(std::string_view path) {
  Network& network = machine().network;
  const auto found = network.pages.try_emplace(std::string(path), Page{.status = 404}).first;
  Page& page = found->second;
  ++page.requests;
  page.sent = 0;
  page.has_broken_off = false;
  page.taken.clear();
  return page;
}

bool split(Call& call, const char* url, UrlParts& parts) {
  return call.answer(test::split_url(url, parts) ? 0 : kErrorInvalidUrl);
}

bool is_unreachable(Call& call) {
  machine().take_time();
  return call.is_refused({kErrorNameNotResolved, kErrorCannotConnect, kErrorTimeout,
                          kErrorConnectionAborted, kErrorInvalidServerResponse});
}

// Soon something comes; as much as is asked for, or less.
std::uint32_t arriving(const Page& page, std::uint32_t size) {
  Machine& it = machine();
  const std::uint64_t left = page.body.size() - page.sent;
  const std::uint64_t most = std::min<std::uint64_t>(left, size);
  const bool is_piece = most > 1 && it.chance.one_in(it.network.pieces_one_in);
  return static_cast<std::uint32_t>(is_piece ? it.chance.between(1, most) : most);
}

void send(Page& page, void* buffer, std::uint32_t bytes) {
  page.body.read(page.sent, buffer, bytes);
  page.sent += bytes;
}

// What an answer brings that breaks off: nothing, a little more, or a count that is none.
std::uint32_t last_of(Page& page, void* buffer, std::uint32_t size) {
  constexpr std::uint32_t kNoCount = 0xFFFFFFFF;
  const std::uint64_t choice = machine().chance.below(3);
  page.has_broken_off = true;
  if (choice == 0) {
    return kNoCount;
  }
  const std::uint32_t bytes = choice == 1 ? 0 : arriving(page, size);
  send(page, buffer, bytes);
  return bytes;
}

}  // namespace

void* internet_open(const char* /*agent*/) noexcept {
  Call call("open internet");
  return call.is_refused({kErrorNotEnoughMemory, kErrorOutOfHandles})
             ? nullptr
             : open_on(nullptr, {InternetKind::kSession}, nullptr);
}

bool internet_set_option(void* handle, std::uint32_t /*option*/, std::uint32_t /*value*/) noexcept {
  Call call("set internet option");
  return opened(call, handle) != nullptr && !call.is_refused({kErrorInvalidOption});
}

void* internet_open_url(void* session, const char* url, std::uint32_t /*flags*/) noexcept {
  Call call("open url");
  UrlParts parts;
  const auto parent = opened_as(call, InternetKind::kSession, session);
  if (!parent || !split(call, url, parts)) {
    return nullptr;
  }
  Page& page = page_at(parts.path);
  return is_unreachable(call) ? nullptr
                              : open_on(parent.get(), {InternetKind::kRequest, true}, &page);
}

bool internet_split_url(const char* url, UrlParts& parts) noexcept {
  Call call("split url");
  return !call.is_refused({kErrorInvalidUrl, kErrorNotEnoughMemory}) && split(call, url, parts);
}

void* internet_connect(void* session, const char* /*host*/, std::uint16_t /*port*/,
                       std::uint32_t /*flags*/) noexcept {
  Call call("connect");
  const auto parent = opened_as(call, InternetKind::kSession, session);
  return !parent || call.is_refused({kErrorNotEnoughMemory, kErrorOutOfHandles})
             ? nullptr
             : open_on(parent.get(), {InternetKind::kConnection}, nullptr);
}

void* internet_open_request(void* connection, const char* /*method*/, const char* path,
                            std::uint32_t /*flags*/) noexcept {
  Call call("open request");
  const auto parent = opened_as(call, InternetKind::kConnection, connection);
  return !parent || call.is_refused({kErrorNotEnoughMemory, kErrorOutOfHandles})
             ? nullptr
             : open_on(parent.get(), {InternetKind::kRequest}, &page_at(path));
}

bool internet_send_request(void* request, std::string_view /*headers*/, const void* body,
                           std::uint32_t body_bytes) noexcept {
  Call call("send request", body_bytes);
  const auto sent = opened_as(call, InternetKind::kRequest, request);
  if (!sent || is_unreachable(call)) {
    return false;
  }
  sent->state.is_sent = true;
  sent->page->taken.append(static_cast<const char*>(body), body_bytes);
  return true;
}

bool internet_query_status(void* request, char* text, std::uint32_t size) noexcept {
  Call call("query status");
  const auto sent = sent_request(call, request);
  if (!sent || call.is_refused({kErrorHeaderNotFound})) {
    return false;
  }
  const int length = std::snprintf(text, size, "%d", sent->page->status);
  return static_cast<std::uint32_t>(length) < size || call.fail(kErrorInsufficientBuffer);
}

bool internet_read(void* request, void* buffer, std::uint32_t size, std::uint32_t& bytes) noexcept {
  Call call("read answer", size);
  bytes = 0;
  const auto sent = sent_request(call, request);
  if (!sent) {
    return false;
  }
  machine().take_time();
  if (call.is_refused({kErrorTimeout, kErrorConnectionAborted, kErrorConnectionReset})) {
    bytes = last_of(*sent->page, buffer, size);
    return false;
  }
  bytes = arriving(*sent->page, size);
  send(*sent->page, buffer, bytes);
  return true;
}

// After the answer's head a system may take nothing more: a refusal like others.
bool internet_write(void* request, const void* data, std::uint32_t size,
                    std::uint32_t& bytes) noexcept {
  Call call("write on request", size);
  bytes = 0;
  const auto sent = sent_request(call, request);
  if (!sent) {
    return false;
  }
  machine().take_time();
  if (call.is_refused({kErrorIncorrectHandleState, kErrorTimeout, kErrorConnectionAborted})) {
    return false;
  }
  bytes = machine().shortened(size);
  sent->page->taken.append(static_cast<const char*>(data), bytes);
  return true;
}

void internet_close(void* handle) noexcept {
  Call call("close internet");
  close_with_children(handle);
}

}  // namespace orsin::port
