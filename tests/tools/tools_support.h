// Shared helpers of the kels tests: paths, scratch directories, running the binary.
#ifndef KELS_TESTS_TOOLS_SUPPORT_H
#define KELS_TESTS_TOOLS_SUPPORT_H

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kels::tool::test {

inline std::string sourcePath(const std::string& rel) { return std::string(KELS_SOURCE_DIR) + "/" + rel; }
inline std::string samplePath(const std::string& utt) { return sourcePath("data/sample/" + utt + ".wav"); }
inline std::string goldenPath(const std::string& name) { return sourcePath("tests/tools/golden/" + name); }

// A fresh directory under the build tree, removed with its contents at the end of the test.
struct TempDir {
  std::string path;
  TempDir() {
    char tmpl[] = "kels_test_XXXXXX";
    path = std::string(mkdtemp(tmpl));
  }
  ~TempDir() { std::system(("rm -rf '" + path + "'").c_str()); }
  std::string operator/(const std::string& name) const { return path + "/" + name; }
};

struct RunResult {
  int status = -1;
  std::string output;  // stdout and stderr together
};

// Runs the kels binary with a shell-quoted argument string; stdin is not a terminal.
inline RunResult runKelsBinary(const std::string& args) {
  RunResult r;
  const std::string cmd = std::string("'") + KELS_BINARY + "' " + args + " </dev/null 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return r;
  char buf[4096];
  for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, p)) > 0;) r.output.append(buf, n);
  const int st = pclose(p);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return r;
}

}  // namespace kels::tool::test

#endif
