// Null where a thread, a job or an observer is asked for.
#include <gtest/gtest.h>

#include "orsincore/threads.h"
#include "threads/executor.h"

namespace orsin {
namespace {

class SilentObserver : public Observer {
 public:
  bool notify(Notification& /*notification*/) override { return true; }
};

TEST(NullObserver, IsNeitherRegisteredNorTakenOut) {
  SilentObserver observer;
  Observable observable;
  observable.register_observer(&observer);
  observable.register_observer(nullptr);
  EXPECT_EQ(observable.getNumObservers(), 1);

  observable.deregister_observer(nullptr);

  EXPECT_EQ(observable.getNumObservers(), 1);
  EXPECT_EQ(observable.update_observers(1U), 1);
  observable.deregister_observer(&observer);
}

TEST(NullBuffer, TakesNoTypeName) {
  const Observer::Notification notification(0x20000000);

  EXPECT_EQ(notification.type_name(nullptr), nullptr);
}

TEST(NullJob, IsNoJob) {
  smp_exec(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);

  EXPECT_EQ(smp_is_spawned(), 0);
}

}  // namespace
}  // namespace orsin
