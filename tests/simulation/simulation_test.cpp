// The simulator itself: that it replays, and that it finds what it is there to find.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "files/io_port.h"
#include "memory/pages_port.h"
#include "net/internet_port.h"
#include "net/websocket_port.h"
#include "orsincore/primitives.h"
#include "tests/simulation/run.h"

namespace orsin::simulation {
namespace {

TEST(Simulation, ReplaysASeedToTheSameStep) {
  for (const Scenario& scenario : scenarios()) {
    SCOPED_TRACE(scenario.name);
    const Runner runner(scenario);
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
      const RunResult first = runner.run({.seed = seed});
      const RunResult second = runner.run({.seed = seed});

      EXPECT_EQ(first.steps, second.steps) << seed;
      EXPECT_EQ(first.hash, second.hash) << seed;
    }
  }
}

TEST(Simulation, GoesAnotherWayWithEachSeed) {
  const Runner runner(scenarios().front());

  EXPECT_NE(runner.run({.seed = 1}).hash, runner.run({.seed = 2}).hash);
}

std::string failure_of(void (*story)(Pass& pass)) {
  const Scenario scenario = {"faulty", story};
  return Runner(scenario).trouble();
}

TEST(Simulation, FindsLocksTakenInTwoOrders) {
  const std::string failure = failure_of([](Pass& pass) {
    __mutex_str* first = mp_new_mutex(0, 0);
    __mutex_str* second = mp_new_mutex(0, 0);
    pass.it.schedule.start(
        [=] {
          mp_get_mutex(first);
          mp_timedwait(kMillisecond);
          mp_get_mutex(second);
        },
        nullptr);
    mp_get_mutex(second);
    mp_timedwait(kMillisecond);
    mp_get_mutex(first);
  });

  EXPECT_EQ(failure, "nobody can run, and nothing is due");
}

TEST(Simulation, FindsWhatIsLeftOver) {
  const auto story = [](Pass&) {
    const Inside library;
    __tls_key_str* key = mp_key_create();
    if (key == nullptr) {
      static_cast<void>(::operator new(1));  // What only a failure leaves.
    }
    mp_key_delete(key);
  };
  const Scenario scenario = {"forgetful", story};
  const Runner runner(scenario);

  EXPECT_EQ(runner.run({.is_calm = true}).text, "");
  EXPECT_TRUE(runner.run({.refusals = {.first_point = 1}, .is_calm = true})
                  .text.starts_with("left over: 1 blocks (0)"));
}

TEST(Simulation, FindsAHandleThatIsUsedAfterItWasClosed) {
  const std::string failure = failure_of([](Pass&) {
    void* event = port::create_event();
    port::close_event(event);
    port::reset_event(event);
  });

  EXPECT_EQ(failure, "handle 0x4 is used, and is not open");
}

TEST(Simulation, FindsMemoryThatChangesWhileItIsWritten) {
  const std::string failure = failure_of([](Pass& pass) {
    pass.it.transfers.pend_one_in = 1;
    constexpr unsigned short kName[] = {'C', ':', '\\', 'a', 0};
    void* file = port::open_file(kName, {.write = true, .create = true});
    void* event = port::create_event();
    port::TransferRecord record = {};
    char bytes[16] = "before";
    static_cast<void>(port::start_write(file, bytes, 0, sizeof(bytes), record, event));
    bytes[0] = 'x';
    pass.it.schedule.sleep(kSecond);
  });

  EXPECT_EQ(failure, "memory changes that is being written");
}

TEST(Simulation, FindsPagesThatAreGivenBackAndWereNeverTaken) {
  const std::string failure = failure_of([](Pass&) {
    constexpr std::uint64_t kPage = 4096;
    auto* pages = static_cast<char*>(port::reserve_pages(2 * kPage));
    ORSIN_EXPECT(port::commit_pages(pages, 2 * kPage), "refused");
    ORSIN_EXPECT(!port::commit_pages(pages + kPage, 2 * kPage), "committed beyond the range");
    port::decommit_pages(pages, 2 * kPage);
    port::decommit_pages(pages + kPage, 2 * kPage);
  });

  EXPECT_EQ(failure, "pages are given back that are not taken");
}

TEST(Simulation, RefusesToUnpinWhatIsNotPinned) {
  const std::string failure = failure_of([](Pass&) {
    char page[1];
    ORSIN_EXPECT(port::pin_pages(page, 1) && port::unpin_pages(page, 1), "refused");
    ORSIN_EXPECT(!port::unpin_pages(page, 1), "unpinned twice");
  });

  EXPECT_EQ(failure, "");
}

TEST(Simulation, RefusesToAskForWhatWasNotSent) {
  const std::string failure = failure_of([](Pass&) {
    void* session = port::internet_open("agent");
    void* connection = port::internet_connect(session, "server", 80, 0);
    void* request = port::internet_open_request(connection, "GET", "/", 0);
    char text[16];
    std::uint32_t bytes = 0;
    ORSIN_EXPECT(port::internet_open_request(session, "GET", "/", 0) == nullptr, "on a session");
    ORSIN_EXPECT(!port::internet_query_status(request, text, sizeof(text)), "a status");
    ORSIN_EXPECT(!port::internet_read(request, text, sizeof(text), bytes), "an answer");
    ORSIN_EXPECT(port::internet_send_request(request, "", nullptr, 0), "refused");
    ORSIN_EXPECT(port::internet_query_status(request, text, sizeof(text)), "no status");
    port::internet_close(session);
  });

  EXPECT_EQ(failure, "");
}

TEST(Simulation, FindsAWebHandleThatIsClosedBeforeThoseMadeOnIt) {
  const std::string failure = failure_of([](Pass&) {
    const auto session = port::open_web_session();
    const auto connection = port::connect_web_server(session.get(), u"server", 80);
    port::close_web_handle(session.get());
  });

  EXPECT_EQ(failure, "a web handle is closed before those that were made on it");
}

TEST(Simulation, FindsAWebHandleThatIsUsedBeforeItsTime) {
  const std::string failure = failure_of([](Pass&) {
    const auto session = port::open_web_session();
    const auto connection = port::connect_web_server(session.get(), u"server", 80);
    const auto request = port::open_web_request(connection.get(), u"/");
    static_cast<void>(port::send_web_request(request.get()));
  });

  EXPECT_EQ(failure, "a web handle is used at step 2 and not 3");
}

TEST(Simulation, EndsTransfersWithTheThreadThatStartedThem) {
  const std::string failure = failure_of([](Pass& pass) {
    pass.it.transfers.pend_one_in = 1;
    pass.it.transfers.latency = 1'000'000 * kSecond;
    pass.it.disk.put("C:\\a", Content::made_of(1, 16));
    constexpr unsigned short kName[] = {'C', ':', '\\', 'a', 0};
    void* file = port::open_file(kName, {.read = true, .share_read = true});
    static port::TransferRecord records[32];
    static char bytes[32];
    pass.it.schedule.start(
        [file] {
          for (port::TransferRecord& record : records) {
            static_cast<void>(port::start_read(file, bytes, 0, 16, record, nullptr));
          }
        },
        nullptr);
    pass.it.schedule.sleep(kSecond);
    int aborted = 0;
    for (port::TransferRecord& record : records) {
      ORSIN_EXPECT(port::is_complete(record), "a transfer goes on");
      std::uint32_t count = 0;
      aborted += port::transfer_result(file, record, count) ? 0 : 1;
    }
    ORSIN_EXPECT(aborted > 0 && aborted < 32, "%d were aborted", aborted);
  });

  EXPECT_EQ(failure, "");
}

TEST(SimulatedContent, TellsBytesThatLieALittleOff) {
  const Content content = Content::made_of(1, 20000);
  Content moved;
  std::string bytes(20000, '\0');
  content.read(0, bytes.data(), bytes.size());
  moved.write(0, bytes.data() + 8, bytes.size() - 8);
  moved.resize(20000);

  EXPECT_FALSE(content == moved);
  moved.write(0, bytes.data(), bytes.size());
  EXPECT_TRUE(content == moved);
}

TEST(SimulatedDisk, RefusesASecondWriter) {
  const std::string failure = failure_of([](Pass& pass) {
    constexpr unsigned short kName[] = {'C', ':', '\\', 'a', 0};
    void* first = port::open_file(kName, {.write = true, .create = true});
    void* second = port::open_file(kName, {.read = true, .share_read = true});
    ORSIN_EXPECT(second == reinterpret_cast<void*>(-1), "opened");
    port::close_file(first);
    ORSIN_EXPECT(pass.it.handles.count() == 0, "left open");
  });

  EXPECT_EQ(failure, "");
}

}  // namespace
}  // namespace orsin::simulation
