// kels: running one job per file on all cores, delivering results in input order, with a
// progress bar on a terminal and timing for the summary line.
#ifndef KELS_TOOLS_JOBS_H
#define KELS_TOOLS_JOBS_H

#include <cstddef>
#include <functional>
#include <string>

namespace kels::tool {

// Wall and CPU seconds since construction (CPU: this process, all threads).
class Stopwatch {
 public:
  Stopwatch();
  double wall() const;
  double cpu() const;

 private:
  double wall0_, cpu0_;
};

// Calls work(i, worker) for every i < n on `threads` threads (worker in 0..threads-1), and
// deliver(i) on the calling thread in increasing i as soon as item i and all before it are
// done. With `progress`, a bar on stderr shows how far the run is once it lasts over half a
// second; label names the unit ("files").
void runOrdered(std::size_t n, int threads, const std::function<void(std::size_t, int)>& work,
                const std::function<void(std::size_t)>& deliver, bool progress);

int defaultThreads();
bool stderrIsTerminal();

}  // namespace kels::tool

#endif
