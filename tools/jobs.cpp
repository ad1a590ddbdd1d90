// kels: a small work queue. Workers take the next index from an atomic counter; the calling
// thread waits for results in order, so output files are written in input order while later
// files are still being computed.
#include "jobs.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

namespace kels::tool {
namespace {

double nowWall() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}
double nowCpu() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return double(u.ru_utime.tv_sec) + double(u.ru_stime.tv_sec) +
         1e-6 * double(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
}

void drawBar(std::size_t done, std::size_t n, double elapsed) {
  constexpr int kWidth = 30;
  const int fill = n ? int(double(done) / double(n) * kWidth) : kWidth;
  char bar[kWidth + 1];
  for (int i = 0; i < kWidth; ++i) bar[i] = i < fill ? '#' : '.';
  bar[kWidth] = '\0';
  const double eta = done ? elapsed / double(done) * double(n - done) : 0.0;
  std::fprintf(stderr, "\r[%s] %zu/%zu files, %.0f s elapsed, about %.0f s left\033[K", bar, done,
               n, elapsed, eta);
  std::fflush(stderr);
}

}  // namespace

Stopwatch::Stopwatch() : wall0_(nowWall()), cpu0_(nowCpu()) {}
double Stopwatch::wall() const { return nowWall() - wall0_; }
double Stopwatch::cpu() const { return nowCpu() - cpu0_; }

int defaultThreads() { return std::max(1, int(std::thread::hardware_concurrency())); }
bool stderrIsTerminal() { return isatty(STDERR_FILENO) == 1; }

void runOrdered(std::size_t n, int threads, const std::function<void(std::size_t, int)>& work,
                const std::function<void(std::size_t)>& deliver, bool progress) {
  threads = int(std::max<std::size_t>(1, std::min<std::size_t>(std::size_t(std::max(threads, 1)), n)));
  std::atomic<std::size_t> next{0};
  std::vector<char> ready(n, 0);
  std::mutex mu;
  std::condition_variable cv;
  auto worker = [&](int id) {
    for (std::size_t i; (i = next.fetch_add(1)) < n;) {
      work(i, id);
      {
        std::lock_guard<std::mutex> lock(mu);
        ready[i] = 1;
      }
      cv.notify_all();
    }
  };
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) pool.emplace_back(worker, t);

  // The bar appears once the run has lasted half a second and is redrawn ten times a second.
  const double start = nowWall();
  double lastDraw = -1.0;
  auto maybeDraw = [&](std::size_t done) {
    const double now = nowWall();
    if (!progress || now - start < 0.5 || now - lastDraw < 0.1) return;
    drawBar(done, n, now - start);
    lastDraw = now;
  };
  std::size_t delivered = 0;
  while (delivered < n) {
    {
      std::unique_lock<std::mutex> lock(mu);
      if (!cv.wait_for(lock, std::chrono::milliseconds(100), [&] { return ready[delivered] != 0; })) {
        lock.unlock();
        maybeDraw(delivered);
        continue;
      }
    }
    deliver(delivered++);
    maybeDraw(delivered);
  }
  for (auto& t : pool) t.join();
  if (lastDraw >= 0.0) std::fprintf(stderr, "\r\033[K");
}

}  // namespace kels::tool
