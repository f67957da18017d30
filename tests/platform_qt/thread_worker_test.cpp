#include "platform/qt/thread_worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <vector>

#include "event_loop.h"

namespace kvx {
namespace {

using platform::ThreadWorker;

TEST(ThreadWorker, WorksInOrderBesideTheEngineAndSurvivesWhatJobsThrow) {
  ThreadWorker worker;
  const auto engine = std::this_thread::get_id();
  std::vector<int> worked;
  std::vector<int> done;
  for (int i = 0; i < 1000; ++i) {
    const auto job = [&worked, engine, i] {
      if (std::this_thread::get_id() != engine) worked.push_back(i);
      if (i % 100 == 50) throw std::runtime_error("a job");
    };
    worker.Post(job, [&done, engine, i] {
      if (std::this_thread::get_id() == engine) done.push_back(i);
    });
  }
  EXPECT_EQ(worker.waiting(), 1000U);
  EXPECT_TRUE(WaitFor([&] { return worker.waiting() == 0; }));
  EXPECT_EQ(worked.size(), 1000U);
  EXPECT_EQ(done.size(), 1000U);
  EXPECT_TRUE(std::is_sorted(worked.begin(), worked.end()) && std::is_sorted(done.begin(), done.end()));
}

TEST(ThreadWorker, EndsAfterTheJobUnderWayAndTellsNothingMore) {
  auto worker = std::make_unique<ThreadWorker>();
  std::atomic<bool> begun = false;
  std::atomic<bool> ended = false;
  std::atomic<int> more = 0;
  const auto job = [&] {
    begun = true;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
    while (std::chrono::steady_clock::now() < end) std::this_thread::yield();
    ended = true;
  };
  worker->Post(job, [&] { ++more; });
  for (int i = 0; i < 100; ++i) worker->Post([&] { ++more; }, [&] { ++more; });
  EXPECT_TRUE(WaitFor([&] { return begun.load(); }));
  worker.reset();
  EXPECT_TRUE(ended);
  WakeUpsIn(std::chrono::milliseconds(20));
  EXPECT_EQ(more, 0);
}

}  // namespace
}  // namespace kvx
