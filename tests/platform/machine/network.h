// The servers that a simulated machine reaches: pages by their path, and messages over one WebSocket.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "tests/platform/machine/content.h"

namespace orsin::simulation {

/// What answers at a path. The latest request has it for itself.
struct Page {
  int status = 200;
  Content body;
  int requests = 0;             // That set out, whether they came here or not.
  std::uint64_t sent = 0;       // Of the body.
  bool has_broken_off = false;  // Before the body's end, or at it.
  std::string taken;            // What came with the request and after it.
};

struct Message {
  bool is_text = false;
  std::string bytes;
};

struct Network {
  std::map<std::string, Page> pages;  // Any other path is not found.
  std::deque<Message> to_be_sent;     // By the WebSocket server, which then says farewell.
  std::vector<Message> received;      // By the WebSocket server.
  std::uint64_t pieces_one_in = 0;    // Answers and messages that come in pieces.
};

}  // namespace orsin::simulation
