#include "threads/job_line.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/new_refusal.h"
#include "tests/threads/gate.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using Numbers = std::vector<std::uint64_t>;

// What an owner keeps: a value for each job that may be ahead.
struct Owner {
  static constexpr std::uint32_t kCapacity = 3;

  std::array<std::uint64_t, kCapacity> values = {};
  Numbers done;
  test::Gate gate;
};

void note(void* owner, std::uint64_t number) {
  auto& self = *static_cast<Owner*>(owner);
  self.done.push_back(self.values[number % Owner::kCapacity]);
}

void wait_and_note(void* owner, std::uint64_t number) {
  static_cast<Owner*>(owner)->gate.wait();
  note(owner, number);
}

void add_value(JobLine& line, Owner& owner, std::uint64_t value) {
  line.wait_for_room();
  owner.values[line.next() % Owner::kCapacity] = value;
  line.add();
}

class JobLines : public testing::Test {
 protected:
  void TearDown() override { stop_thread_table(); }

  Owner owner_;
};

TEST_F(JobLines, DoEveryJobOnceAndInOrder) {
  JobLine line(&owner_, note, Owner::kCapacity);
  ASSERT_TRUE(line.start("Line"));
  Numbers expected;
  for (std::uint64_t i = 0; i < 5000; ++i) {
    add_value(line, owner_, i * i);  // Overwrites the value of job i - 3: that must be done.
    expected.push_back(i * i);
  }

  line.wait_until_done();

  EXPECT_EQ(owner_.done, expected);
}

TEST_F(JobLines, LetTheOwnerGoOnWhileAJobRuns) {
  JobLine line(&owner_, wait_and_note, Owner::kCapacity);
  ASSERT_TRUE(line.start("Line"));
  add_value(line, owner_, 1);
  add_value(line, owner_, 2);
  add_value(line, owner_, 3);  // Comes here while the first job stands at the gate.

  owner_.gate.open();
  line.wait_until_done();

  EXPECT_EQ(owner_.done, (Numbers{1, 2, 3}));
}

TEST_F(JobLines, DoWhatWasAddedBeforeTheyStop) {
  JobLine line(&owner_, wait_and_note, Owner::kCapacity);
  ASSERT_TRUE(line.start("Line"));
  add_value(line, owner_, 1);
  add_value(line, owner_, 2);
  owner_.gate.open();

  line.stop();

  EXPECT_FALSE(line.is_running());
  EXPECT_EQ(owner_.done, (Numbers{1, 2}));
}

TEST_F(JobLines, StartAgainAfterTheyStopped) {
  JobLine line(&owner_, note, Owner::kCapacity);
  Numbers expected;
  for (std::uint64_t round = 0; round < 10; ++round) {
    ASSERT_TRUE(line.start("Line"));
    for (int i = 0; i < 1000; ++i) {
      std::this_thread::yield();  // Mostly the thread comes first, and must wait for its job.
    }
    add_value(line, owner_, round);
    line.stop();
    expected.push_back(round);
  }

  EXPECT_EQ(owner_.done, expected);
}

TEST_F(JobLines, RunOnAThreadOfTheGivenName) {
  static constexpr auto kNoteName = [](void* owner, std::uint64_t) {
    *static_cast<std::string*>(owner) = mp_get_thread_name();
  };
  std::string name;
  JobLine line(&name, kNoteName, 1);
  ASSERT_TRUE(line.start("A line of jobs"));
  line.add();

  line.stop();

  EXPECT_EQ(name, "A line of jobs");
}

TEST_F(JobLines, DoNotStartWithoutMemoryForAnyOfTheirPieces) {
  constexpr int kPieces = 2;
  JobLine line(&owner_, note, Owner::kCapacity);
  for (int granted = 0; granted < kPieces; ++granted) {
    SCOPED_TRACE(granted);
    const test::NewRefusal refusal(granted, 1);
    EXPECT_FALSE(line.start("Line"));
    EXPECT_FALSE(line.is_running());
  }

  ASSERT_TRUE(line.start("Line"));
  add_value(line, owner_, 7);
  line.stop();
  EXPECT_EQ(owner_.done, Numbers{7});
}

TEST_F(JobLines, AreNotRunningBeforeTheirStart) {
  JobLine line(&owner_, note, Owner::kCapacity);

  EXPECT_FALSE(line.is_running());
  line.stop();  // Nothing to do.
}

}  // namespace
}  // namespace orsin
