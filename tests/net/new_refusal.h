// Makes memory short for `new (std::nothrow)`, which is all that the network clients use.
#pragma once

namespace orsin::test {

/// Refuses every such allocation of this thread while it lives, after the first `granted` ones.
class NewRefusal {
 public:
  explicit NewRefusal(int granted = 0);
  ~NewRefusal();
  NewRefusal(const NewRefusal&) = delete;
  NewRefusal& operator=(const NewRefusal&) = delete;
};

}  // namespace orsin::test
