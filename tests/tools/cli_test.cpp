// The kels binary as a user runs it: usage and help, bad arguments, and the main job end to end
// on the bundled sample with every output format.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "gmm.h"
#include "matrix_io.h"
#include "tools_support.h"
#include "wav.h"

namespace kels::tool {
namespace {

using test::runKelsBinary;


std::string samples() {
  return "'" + test::samplePath("utt1") + "' '" + test::samplePath("utt2") + "' '" +
         test::samplePath("utt3") + "'";
}

TEST(Cli, NoArgumentsWithoutTerminalIsAUsageError) {
  const auto r = runKelsBinary("");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.output.find("usage: kels COMMAND"), std::string::npos) << r.output;
}

TEST(Cli, EveryCommandHasHelp) {
  for (const char* cmd : {"mfcc", "fbank", "gmm-train", "gmm-score"}) {
    const auto r = runKelsBinary(std::string(cmd) + " --help");
    EXPECT_EQ(r.status, 0) << cmd;
    EXPECT_NE(r.output.find(std::string("usage: kels ") + cmd), std::string::npos) << r.output;
    EXPECT_EQ(runKelsBinary(std::string("help ") + cmd).output, r.output) << cmd;
  }
}

TEST(Cli, BadArgumentsExitWithTwoAndSayWhy) {
  const std::pair<const char*, const char*> cases[] = {
      {"frobnicate", "unknown command"},
      {"mfcc --num-ceps", "needs a value"},
      {"mfcc --num-ceps=abc x.wav", "takes a number"},
      {"mfcc --use-energy=maybe x.wav", "true or false"},
      {"mfcc --bogus x.wav", "unknown option --bogus"},
      {"mfcc", "no input files"},
      {"mfcc --format csv x.wav", "unknown format"},
      {"gmm-train x.ark", "needs -o"},
      {"gmm-score", "needs a model"},
  };
  for (const auto& [args, msg] : cases) {
    const auto r = runKelsBinary(args);
    EXPECT_EQ(r.status, 2) << args << "\n" << r.output;
    EXPECT_NE(r.output.find(msg), std::string::npos) << args << "\n" << r.output;
  }
}

TEST(Cli, MainJobEndToEnd) {
  test::TempDir dir;
  auto r = runKelsBinary("mfcc -j 2 --deltas 2 " + samples() + " -o '" + dir / "f.ark" + "'");
  ASSERT_EQ(r.status, 0) << r.output;
  EXPECT_NE(r.output.find("kels mfcc: 3 files, 1404 frames, 14.10 s of audio"), std::string::npos) << r.output;
  const auto utts = readFeatures(dir / "f.ark");
  ASSERT_EQ(utts.size(), 3u);
  EXPECT_EQ(utts[0].id, "utt1");
  EXPECT_EQ(utts[0].feats.cols, 39);

  r = runKelsBinary("gmm-train -q --components 4 --iterations 4 '" + dir / "f.ark" + "' -o '" + dir / "m.gmm" + "'");
  ASSERT_EQ(r.status, 0) << r.output;
  EXPECT_EQ(readGmm(dir / "m.gmm").comps, 4);

  r = runKelsBinary("gmm-score '" + dir / "m.gmm" + "' '" + dir / "f.ark" + "' --per-frame '" + dir / "s.ark" + "'");
  ASSERT_EQ(r.status, 0) << r.output;
  std::istringstream table(r.output);
  std::string id;
  long n;
  double total, avg;
  ASSERT_TRUE(table >> id >> n >> total >> avg) << r.output;
  EXPECT_EQ(id, "utt1");
  EXPECT_EQ(n, utts[0].feats.rows);
  EXPECT_NEAR(avg * double(n), total, 1e-2 * std::fabs(total) + 1e-3);
  // Features of another width: that file fails, by name, and the exit status says so.
  ASSERT_EQ(runKelsBinary("fbank -q '" + test::samplePath("utt1") + "' -o '" + dir / "fb.ark" + "'").status, 0);
  const auto mismatch = runKelsBinary("gmm-score -q '" + dir / "m.gmm" + "' '" + dir / "fb.ark" + "'");
  EXPECT_EQ(mismatch.status, 1);
  EXPECT_NE(mismatch.output.find("fb.ark: features have 23 columns, the model 39"), std::string::npos) << mismatch.output;
  const auto perFrame = readFeatures(dir / "s.ark");
  ASSERT_EQ(perFrame.size(), 3u);
  double sum = 0;
  for (float v : perFrame[0].feats.data) sum += v;
  EXPECT_NEAR(sum, total, 1e-3 * std::fabs(total));
}

TEST(Cli, EveryOutputFormatCarriesTheSameFeatures) {
  test::TempDir dir;
  const std::string in = "'" + test::samplePath("utt2") + "'";
  ASSERT_EQ(runKelsBinary("fbank -q " + in + " -o '" + dir / "a.ark" + "'").status, 0);
  ASSERT_EQ(runKelsBinary("fbank -q --format text " + in + " -o '" + dir / "a.txt" + "'").status, 0);
  ASSERT_EQ(runKelsBinary("fbank -q " + in + " -o '" + dir / "a.npy" + "'").status, 0);
  ASSERT_EQ(runKelsBinary("fbank -q " + in + " -o '" + dir / "a.htk" + "'").status, 0);
  const auto text = runKelsBinary("fbank -q " + in);  // text on stdout by default
  ASSERT_EQ(text.status, 0);
  const Matrix ref = readFeatures(dir / "a.ark")[0].feats;
  EXPECT_EQ(ref.cols, 23);
  for (const char* f : {"a.txt", "a.npy", "a.htk"}) {
    const Matrix m = readFeatures(dir / f)[0].feats;
    ASSERT_EQ(m.rows, ref.rows) << f;
    EXPECT_EQ(m.data, ref.data) << f;
  }
  EXPECT_EQ(parseFeatures(text.output, "")[0].feats.data, ref.data);
  EXPECT_EQ(readHtkHeader(dir / "a.htk").period, 100000);

  // Several inputs to npy/htk: one file per utterance in a directory.
  ASSERT_EQ(runKelsBinary("mfcc -q " + samples() + " -o '" + dir / "npy" + "' --format npy").status, 0);
  for (const char* u : {"utt1", "utt2", "utt3"})
    EXPECT_EQ(readFeatures(dir / ("npy/" + std::string(u) + ".npy"))[0].feats.cols, 13);
}

TEST(Cli, MixedRatesAndEncodingsInOneRun) {
  test::TempDir dir;
  const Audio a = readWav(test::samplePath("utt1"));
  std::vector<float> half, triple;
  for (std::size_t i = 0; i < a.samples.size(); i += 2) half.push_back(a.samples[i]);
  for (float v : a.samples) triple.insert(triple.end(), 3, v);
  writeWav(dir / "r8.wav", half, 8000, true);       // float at 8 kHz
  writeWav(dir / "r48.wav", triple, 48000, false);  // PCM at 48 kHz
  const auto r = runKelsBinary("mfcc -q -j 2 '" + dir / "r8.wav" + "' '" + dir / "r48.wav" + "' '" +
                               test::samplePath("utt2") + "' -o '" + dir / "f.ark" + "'");
  ASSERT_EQ(r.status, 0) << r.output;
  const auto u = readFeatures(dir / "f.ark");
  ASSERT_EQ(u.size(), 3u);
  // 25 ms / 10 ms frames at every rate: the same duration gives the same frame count.
  EXPECT_EQ(u[0].feats.rows, int(1 + (half.size() - 200) / 80));
  EXPECT_EQ(u[1].feats.rows, int(1 + (triple.size() - 1200) / 480));
  EXPECT_EQ(u[0].feats.rows, u[1].feats.rows);
  EXPECT_EQ(u[2].feats.rows, 422);
}

TEST(Cli, ListFilesNameUtterances) {
  test::TempDir dir;
  std::ofstream(dir / "list") << "# comment\nfirst " << test::samplePath("utt3") << "\n"
                              << test::samplePath("utt1") << "\n";
  const auto r = runKelsBinary("mfcc -q --list '" + dir / "list" + "' -o '" + dir / "f.txt" + "'");
  ASSERT_EQ(r.status, 0) << r.output;
  const auto utts = readFeatures(dir / "f.txt");
  ASSERT_EQ(utts.size(), 2u);
  EXPECT_EQ(utts[0].id, "first");
  EXPECT_EQ(utts[1].id, "utt1");
}

}  // namespace
}  // namespace kels::tool
