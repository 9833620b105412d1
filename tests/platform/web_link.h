// The steps of a WebSocket in the order that WinHTTP wants, and whose handle was made on whose: every
// stand-in for it asks here. Whoever takes a step before its time, or closes a handle before those that
// were made on it, has no right to anything.
#pragma once

#include <memory>
#include <utility>

namespace orsin::platform {

enum class WebStep { kSession, kConnection, kRequest, kAsking, kSent, kAnswered, kSocket, kClosed };

/// What a handle stands for, and how far it has come.
struct WebLink {
  WebLink(WebStep first_step, std::shared_ptr<WebLink> made_on)
      : step(first_step), parent(std::move(made_on)) {
    if (parent != nullptr) {
      ++parent->children;
    }
  }
  ~WebLink() {
    if (parent != nullptr) {
      --parent->children;
    }
  }
  WebLink(const WebLink&) = delete;
  WebLink& operator=(const WebLink&) = delete;

  WebStep step;
  std::shared_ptr<WebLink> parent;
  int children = 0;
  bool has_heard_farewell = false;  // A socket; nothing comes after it.
};

}  // namespace orsin::platform
