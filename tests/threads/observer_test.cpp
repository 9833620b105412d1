#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "orsincore/threads.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/virtual_table.h"

namespace orsin {
namespace {

using Notification = Observer::Notification;
using Names = std::vector<std::string>;

constexpr unsigned int kChanged = 0x1;
constexpr unsigned int kAttach = 0x20000000;
constexpr unsigned int kDying = 0x80000000;

// Writes its name down when it is told, and then does what the test wants.
class Watcher : public Observer {
 public:
  Watcher(Names& told, std::string name) : told_(&told), name_(std::move(name)) {}

  bool notify(Notification& notification) override {
    told_->push_back(name_);
    type = notification.type();
    sender = notification.sender();
    if (then) {
      then();
    }
    return answer;
  }

  std::function<void()> then;
  bool answer = true;
  unsigned int type = 0;
  Observable* sender = nullptr;

 private:
  Names* told_;
  std::string name_;
};

class ObservableTest : public testing::Test {
 protected:
  // Each delivery starts with a clean list of who was told.
  Names told_by(unsigned int type) {
    told_.clear();
    observable_.update_observers(type);
    return told_;
  }

  void TearDown() override {
    for (Watcher* watcher : {&a_, &b_, &c_, &d_}) {
      observable_.deregister_observer(watcher);
    }
  }

  Names told_;
  Observable observable_;
  Watcher a_{told_, "a"};
  Watcher b_{told_, "b"};
  Watcher c_{told_, "c"};
  Watcher d_{told_, "d"};
};

using Registration = ObservableTest;
using Delivery = ObservableTest;
using Muting = ObservableTest;
using ChangesDuringDelivery = ObservableTest;

// ---------------------------------------------------------------------------------------------
// Notification
// ---------------------------------------------------------------------------------------------

TEST(ObserverNotification, NamesTheNamedBits) {
  const struct {
    unsigned int type;
    const char* name;
  } cases[] = {{0, "Unknown"},
               {0x1FFFFFFF, "Unknown"},
               {0x20000000, "Attach"},
               {0x40000000, "Detach"},
               {0x60000000, "AttachDetach"},
               {0x80000000, "Dying"},
               {0xA0000000, "AttachDying"},
               {0xE0000001, "AttachDetachDying"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    char buffer[18];

    EXPECT_EQ(Notification(c.type).type_name(buffer), buffer);
    EXPECT_STREQ(buffer, c.name);
  }
}

TEST(ObserverNotification, HasNoSenderBeforeItIsDelivered) {
  const Notification notification(7);

  EXPECT_EQ(notification.type(), 7U);
  EXPECT_EQ(notification.sender(), nullptr);
}

TEST_F(Delivery, ACopyOfANotificationKeepsTypeAndSender) {
  Notification notification(kChanged);
  observable_.update_observers(notification);

  const Notification copy(notification);
  Notification assigned(7);
  assigned = notification;

  EXPECT_EQ(copy.type(), kChanged);
  EXPECT_EQ(copy.sender(), &observable_);
  EXPECT_EQ(assigned.type(), kChanged);
  EXPECT_EQ(assigned.sender(), &observable_);
}

// ---------------------------------------------------------------------------------------------
// Registration
// ---------------------------------------------------------------------------------------------

TEST_F(Registration, KeepsOneEntryForAnObserverRegisteredTwice) {
  observable_.register_observer(&a_);
  observable_.register_observer(&a_);

  EXPECT_EQ(observable_.getNumObservers(), 1);
  EXPECT_EQ(told_by(kChanged), Names{"a"});
}

TEST_F(Registration, TheLastToLeaveShortensTheList) {
  observable_.register_observer(&a_);
  observable_.register_observer(&b_);

  observable_.deregister_observer(&b_);

  EXPECT_EQ(observable_.getNumObservers(), 1);
}

TEST_F(Registration, AnEarlierOneLeavesAPlaceForTheNext) {
  observable_.register_observer(&a_);
  observable_.register_observer(&b_);

  observable_.deregister_observer(&a_);
  EXPECT_EQ(observable_.getNumObservers(), 2);
  observable_.register_observer(&c_);

  EXPECT_EQ(observable_.getNumObservers(), 2);
  EXPECT_EQ(told_by(kChanged), (Names{"b", "c"}));
}

TEST_F(Registration, FillsTheLastEmptyPlaceFirst) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  observable_.deregister_observer(&a_);
  observable_.deregister_observer(&b_);

  observable_.register_observer(&d_);

  EXPECT_EQ(told_by(kChanged), (Names{"c", "d"}));
  observable_.register_observer(&a_);
  EXPECT_EQ(told_by(kChanged), (Names{"c", "d", "a"}));
}

TEST_F(Registration, DeregisteringAStrangerDoesNothing) {
  observable_.register_observer(&a_);

  observable_.deregister_observer(&b_);

  EXPECT_EQ(told_by(kChanged), Names{"a"});
}

TEST_F(Registration, TrimmingDropsEmptyPlacesAtTheEnd) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  observable_.deregister_observer(&b_);
  observable_.deregister_observer(&c_);
  ASSERT_EQ(observable_.getNumObservers(), 2);

  observable_.trim_observer_list();
  EXPECT_EQ(observable_.getNumObservers(), 1);

  observable_.deregister_observer(&a_);
  observable_.trim_observer_list();
  EXPECT_EQ(observable_.getNumObservers(), 0);
  observable_.register_observer(&d_);
  EXPECT_EQ(told_by(kChanged), Names{"d"});
}

TEST_F(Registration, TrimmingGivesTheMemoryOfAnEmptyListBack) {
  const long before = test::live_blocks();
  observable_.register_observer(&a_);
  observable_.deregister_observer(&a_);
  EXPECT_EQ(test::live_blocks(), before + 1);

  observable_.trim_observer_list();

  EXPECT_EQ(test::live_blocks(), before);
}

TEST_F(Registration, GrowsPastTheFirstRoom) {
  std::vector<std::unique_ptr<Watcher>> watchers;
  for (int i = 0; i < 1200; ++i) {
    watchers.push_back(std::make_unique<Watcher>(told_, std::to_string(i)));
    observable_.register_observer(watchers.back().get());
  }

  EXPECT_EQ(observable_.update_observers(kChanged), 1200);
  EXPECT_EQ(told_.front(), "1199");
  EXPECT_EQ(told_.back(), "0");
  for (const auto& watcher : watchers) {
    observable_.deregister_observer(watcher.get());
  }
}

// ---------------------------------------------------------------------------------------------
// Delivery
// ---------------------------------------------------------------------------------------------

TEST_F(Delivery, ReachesTheNewestRegistrationFirst) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }

  EXPECT_EQ(told_by(kChanged), (Names{"c", "b", "a"}));
  EXPECT_EQ(a_.type, kChanged);
  EXPECT_EQ(a_.sender, &observable_);
}

TEST_F(Delivery, CountsTheHandlersThatAnswerTrue) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  b_.answer = false;

  EXPECT_EQ(observable_.update_observers(kChanged), 2);
  Notification notification(kChanged);
  EXPECT_EQ(observable_.update_observers(notification), 2);
}

TEST_F(Delivery, SetsTheSenderOfTheCallersNotification) {
  observable_.register_observer(&a_);
  Notification notification(kAttach);

  EXPECT_EQ(observable_.update_observers(notification), 1);

  EXPECT_EQ(notification.sender(), &observable_);
  EXPECT_EQ(a_.type, kAttach);
}

TEST_F(Delivery, NeverNests) {
  observable_.register_observer(&a_);
  observable_.register_observer(&b_);
  int nested = -1;
  int nested_by_notification = -1;
  b_.then = [&] {
    nested = observable_.update_observers(kChanged);
    Notification notification(kChanged);
    nested_by_notification = observable_.update_observers(notification);
  };

  EXPECT_EQ(told_by(kChanged), (Names{"b", "a"}));

  EXPECT_EQ(nested, 0);
  EXPECT_EQ(nested_by_notification, 0);
}

TEST_F(Delivery, AnotherObservableMayDeliverMeanwhile) {
  Observable other;
  other.register_observer(&b_);
  observable_.register_observer(&a_);
  a_.then = [&] { EXPECT_EQ(other.update_observers(kChanged), 1); };

  EXPECT_EQ(told_by(kChanged), (Names{"a", "b"}));
  other.deregister_observer(&b_);
}

TEST_F(Delivery, GoesOnAfterAHandlerThrew) {
  observable_.register_observer(&a_);
  a_.then = [] { throw std::runtime_error("handler"); };
  EXPECT_THROW(observable_.update_observers(kChanged), std::runtime_error);
  a_.then = nullptr;

  EXPECT_EQ(told_by(kChanged), Names{"a"});
}

TEST_F(Delivery, TheDestructorAnnouncesItsDeath) {
  auto dying = std::make_unique<Observable>();
  dying->register_observer(&a_);
  dying->disableNotifications();
  const Observable* address = dying.get();

  dying.reset();

  EXPECT_EQ(told_, Names{"a"});
  EXPECT_EQ(a_.type, kDying);
  EXPECT_EQ(a_.sender, address);
}

// ---------------------------------------------------------------------------------------------
// Muting
// ---------------------------------------------------------------------------------------------

TEST_F(Muting, AnObservableStaysSilentUntilEachDisableIsUndone) {
  observable_.register_observer(&a_);
  observable_.disableNotifications();
  observable_.disableNotifications();
  observable_.enableNotifications();

  EXPECT_FALSE(observable_.getNotificationsEnabled());
  EXPECT_EQ(told_by(kChanged), Names{});
  EXPECT_EQ(told_by(kDying | kAttach), Names{});  // "Dying" passes by itself only.
  EXPECT_EQ(told_by(kDying), Names{"a"});

  observable_.enableNotifications();
  observable_.enableNotifications();  // One too many counts for nothing.
  EXPECT_TRUE(observable_.getNotificationsEnabled());
  observable_.disableNotifications();
  EXPECT_FALSE(observable_.getNotificationsEnabled());
}

TEST_F(Muting, KeepsANotificationOfItsOwnFromPassingAMutedObservable) {
  observable_.register_observer(&a_);
  observable_.disableNotifications();
  Notification notification(kDying);

  EXPECT_EQ(observable_.update_observers(notification), 0);

  EXPECT_EQ(told_, Names{});
  EXPECT_EQ(notification.sender(), nullptr);
}

TEST_F(Muting, KeepsCallingMutedObserversWithANotification) {
  observable_.register_observer(&a_);
  observable_.register_observer(&b_);
  a_.disableObserverNotifications();

  EXPECT_EQ(told_by(kChanged), Names{"b"});
  EXPECT_EQ(told_by(kDying), Names{"b"});

  told_.clear();
  Notification notification(kChanged);
  EXPECT_EQ(observable_.update_observers(notification), 2);
  EXPECT_EQ(told_, (Names{"b", "a"}));
}

TEST_F(Muting, AnObserverStaysMutedUntilEachDisableIsUndone) {
  a_.disableObserverNotifications();
  a_.disableObserverNotifications();
  a_.enableObserverNotifications();
  EXPECT_FALSE(a_.getObserverNotificationsEnabled());

  a_.enableObserverNotifications();
  a_.enableObserverNotifications();  // One too many counts for nothing.
  EXPECT_TRUE(a_.getObserverNotificationsEnabled());
  a_.disableObserverNotifications();
  EXPECT_FALSE(a_.getObserverNotificationsEnabled());
}

TEST_F(Muting, ACopyOfAnObserverIsAsMuted) {
  a_.disableObserverNotifications();

  const Watcher copy(a_);
  b_ = a_;

  EXPECT_FALSE(copy.getObserverNotificationsEnabled());
  EXPECT_FALSE(b_.getObserverNotificationsEnabled());
}

TEST_F(Muting, AnObserverMayMuteAnotherDuringDelivery) {
  observable_.register_observer(&a_);
  observable_.register_observer(&b_);
  b_.then = [&] { a_.disableObserverNotifications(); };

  EXPECT_EQ(told_by(kChanged), Names{"b"});
}

// ---------------------------------------------------------------------------------------------
// Changes during a delivery. The watchers stand as a, b, c; the walk goes c, b, a.
// ---------------------------------------------------------------------------------------------

TEST_F(ChangesDuringDelivery, TheOneBeingCalledMayLeave) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  b_.then = [&] { observable_.deregister_observer(&b_); };

  EXPECT_EQ(told_by(kChanged), (Names{"c", "b", "a"}));
  EXPECT_EQ(told_by(kChanged), (Names{"c", "a"}));
}

TEST_F(ChangesDuringDelivery, OneWhoseTurnIsStillToComeIsNotCalledOnceItLeft) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  c_.then = [&] { observable_.deregister_observer(&b_); };

  EXPECT_EQ(told_by(kChanged), (Names{"c", "a"}));
}

TEST_F(ChangesDuringDelivery, OneThatWasCalledAlreadyMayLeave) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  b_.then = [&] { observable_.deregister_observer(&c_); };

  EXPECT_EQ(told_by(kChanged), (Names{"c", "b", "a"}));
  EXPECT_EQ(observable_.getNumObservers(), 2);
}

TEST_F(ChangesDuringDelivery, AllMayLeaveAndTheListBeTrimmed) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  c_.then = [&] {
    for (Watcher* watcher : {&a_, &b_, &c_}) {
      observable_.deregister_observer(watcher);
    }
    observable_.trim_observer_list();
  };

  EXPECT_EQ(told_by(kChanged), Names{"c"});
  EXPECT_EQ(observable_.getNumObservers(), 0);
}

TEST_F(ChangesDuringDelivery, AnObserverMayLeaveAndDestroyItself) {
  class Mortal : public Observer {
   public:
    explicit Mortal(Observable& observable) : observable_(observable) {}
    bool notify(Notification&) override {
      observable_.deregister_observer(this);
      delete this;
      return true;
    }

   private:
    Observable& observable_;
  };
  observable_.register_observer(&a_);
  observable_.register_observer(new Mortal(observable_));

  EXPECT_EQ(observable_.update_observers(kChanged), 2);
  EXPECT_EQ(observable_.update_observers(kChanged), 1);
}

TEST_F(ChangesDuringDelivery, AnotherObserverMayBeDestroyed) {
  auto before = std::make_unique<Watcher>(told_, "before");
  auto after = std::make_unique<Watcher>(told_, "after");
  observable_.register_observer(before.get());
  observable_.register_observer(&a_);
  observable_.register_observer(after.get());
  a_.then = [&] {
    for (auto* watcher : {&before, &after}) {
      observable_.deregister_observer(watcher->get());
      watcher->reset();
    }
  };

  EXPECT_EQ(told_by(kChanged), (Names{"after", "a"}));
}

TEST_F(ChangesDuringDelivery, OneThatComesToAPlaceBelowIsCalled) {
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  observable_.deregister_observer(&a_);
  c_.then = [&] { observable_.register_observer(&d_); };

  EXPECT_EQ(told_by(kChanged), (Names{"c", "b", "d"}));
}

TEST_F(ChangesDuringDelivery, OneThatComesBehindIsNotCalledYet) {
  observable_.register_observer(&a_);
  std::vector<std::unique_ptr<Watcher>> crowd;
  a_.then = [&] {
    for (int i = 0; i < 100; ++i) {  // The list moves to a larger place.
      crowd.push_back(std::make_unique<Watcher>(told_, "late"));
      observable_.register_observer(crowd.back().get());
    }
  };

  EXPECT_EQ(told_by(kChanged), Names{"a"});

  a_.then = nullptr;
  EXPECT_EQ(told_by(kChanged).size(), 101U);
  for (const auto& watcher : crowd) {
    observable_.deregister_observer(watcher.get());
  }
}

TEST_F(ChangesDuringDelivery, TheObservableMayBecomeAnother) {
  Observable empty;
  for (Watcher* watcher : {&a_, &b_, &c_}) {
    observable_.register_observer(watcher);
  }
  c_.then = [&] { observable_ = empty; };

  EXPECT_EQ(told_by(kChanged), Names{"c"});

  c_.then = nullptr;
  observable_.register_observer(&c_);
  EXPECT_EQ(told_by(kChanged), Names{"c"});
}

// ---------------------------------------------------------------------------------------------
// Copies and layout
// ---------------------------------------------------------------------------------------------

TEST(ObservableCopy, TakesPlacesAndMuting) {
  Names told;
  Watcher a(told, "a");
  Watcher b(told, "b");
  Observable original;
  original.register_observer(&a);
  original.register_observer(&b);
  original.deregister_observer(&a);
  original.disableNotifications();

  Observable copy(original);
  Observable assigned;
  assigned = original;

  for (Observable* observable : {&copy, &assigned}) {
    EXPECT_EQ(observable->getNumObservers(), 2);
    EXPECT_FALSE(observable->getNotificationsEnabled());
    observable->enableNotifications();
    told.clear();
    EXPECT_EQ(observable->update_observers(kChanged), 1);
    EXPECT_EQ(told, Names{"b"});
  }
}

TEST(ObservableCopy, KeepsSilentWhenItWasMadeDuringADelivery) {
  Names told;
  Watcher a(told, "a");
  Observable original;
  original.register_observer(&a);
  std::unique_ptr<Observable> copy;
  a.then = [&] { copy = std::make_unique<Observable>(original); };
  original.update_observers(kChanged);
  a.then = nullptr;
  told.clear();

  EXPECT_EQ(copy->update_observers(kChanged), 0);
  copy.reset();

  EXPECT_EQ(told, Names{});
}

// Binary compatibility: hosts and plug-ins carry these layouts.
static_assert(sizeof(Notification) == 24);
static_assert(sizeof(Observer) == 16);
static_assert(sizeof(Observable) == 40);

TEST(ObserverLayout, KeepsItsFieldsInOrder) {
  const Notification notification(0x12345678);
  const auto* notification_bytes = reinterpret_cast<const unsigned char*>(&notification);
  EXPECT_EQ(*reinterpret_cast<const unsigned int*>(notification_bytes + 8), 0x12345678U);

  Names told;
  Watcher watcher(told, "w");
  watcher.disableObserverNotifications();
  const auto* observer_bytes =
      reinterpret_cast<const unsigned char*>(static_cast<const Observer*>(&watcher));
  EXPECT_EQ(*reinterpret_cast<const unsigned int*>(observer_bytes + 8), 1U);

  Observable observable;
  observable.disableNotifications();
  const auto* observable_bytes = reinterpret_cast<const unsigned char*>(&observable);
  EXPECT_EQ(*reinterpret_cast<const unsigned int*>(observable_bytes + 32), 1U);
  EXPECT_EQ(*reinterpret_cast<const unsigned int*>(observable_bytes + 36), 0U);
}

TEST(ObserverLayout, CallsTheHandlerThroughSlotOne) {
  Names told;
  Watcher watcher(told, "w");
  Notification notification(kChanged);

  EXPECT_TRUE(test::call_virtual<bool>(static_cast<Observer*>(&watcher), 1, &notification));

  EXPECT_EQ(told, Names{"w"});
}

}  // namespace
}  // namespace orsin
