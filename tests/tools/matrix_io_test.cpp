// Feature file formats: every format written and read back bit for bit (text to its printed
// precision), headers as the foreign tools expect them, damaged files refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include "error.h"
#include "matrix_io.h"
#include "tools_support.h"

namespace kels::tool {
namespace {

Matrix randomMatrix(int rows, int cols, unsigned seed) {
  std::mt19937 gen(seed);
  std::normal_distribution<float> nd(0.0f, 30.0f);
  Matrix m(rows, cols);
  for (float& v : m.data) v = nd(gen);
  if (!m.data.empty()) {
    m.data[0] = -0.0f;
    m.data.back() = std::numeric_limits<float>::denorm_min();
  }
  if (m.data.size() > 2) m.data[1] = 3.4e38f;
  return m;
}

std::string bytesOf(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}

void expectSameBits(const Matrix& a, const Matrix& b) {
  ASSERT_EQ(a.rows, b.rows);
  ASSERT_EQ(a.cols, b.cols);
  if (a.data.empty()) return;  // memcmp must not see the null data of an empty vector
  EXPECT_EQ(0, std::memcmp(a.data.data(), b.data.data(), a.data.size() * sizeof(float)));
}

TEST(MatrixIo, ArchivesRoundTripSeveralUtterances) {
  const std::vector<Utterance> utts = {{"a", randomMatrix(7, 13, 1)},
                                       {"b-2", randomMatrix(1, 39, 2)},
                                       {"c", randomMatrix(120, 5, 3)}};
  for (Format f : {Format::kText, Format::kArk}) {
    std::ostringstream out;
    for (const auto& u : utts) f == Format::kText ? writeKaldiText(out, u) : writeKaldiBinary(out, u);
    const auto back = parseFeatures(out.str(), "unused");
    ASSERT_EQ(back.size(), utts.size());
    for (std::size_t i = 0; i < utts.size(); ++i) {
      EXPECT_EQ(back[i].id, utts[i].id);
      expectSameBits(back[i].feats, utts[i].feats);  // 9 significant digits restore a float
    }
  }
}

TEST(MatrixIo, KaldiBinaryLayout) {
  Matrix m(2, 3);
  for (int i = 0; i < 6; ++i) m.data[std::size_t(i)] = float(i) + 0.5f;
  std::ostringstream out;
  writeKaldiBinary(out, {"utt", m});
  const std::string s = out.str();
  const std::string head("utt \0BFM \4\2\0\0\0\4\3\0\0\0", 19);
  ASSERT_EQ(s.size(), head.size() + 24);
  EXPECT_EQ(s.substr(0, head.size()), head);
  float f;
  std::memcpy(&f, s.data() + head.size() + 20, 4);
  EXPECT_EQ(f, 5.5f);
}

TEST(MatrixIo, ReadsKaldiDoubleMatricesAndMixedArchives) {
  std::string s("x \0BDM \4\1\0\0\0\4\2\0\0\0", 17);
  for (double d : {1.25, -2.5}) s.append(reinterpret_cast<const char*>(&d), 8);
  s += "y  [\n  1 2\n  3 4 ]\n";
  const auto u = parseFeatures(s, "");
  ASSERT_EQ(u.size(), 2u);
  EXPECT_EQ(u[0].feats.data, (std::vector<float>{1.25f, -2.5f}));
  EXPECT_EQ(u[1].feats.rows, 2);
  EXPECT_EQ(u[1].feats.data, (std::vector<float>{1, 2, 3, 4}));
}

TEST(MatrixIo, SingleMatrixFilesRoundTrip) {
  test::TempDir dir;
  for (const Matrix& m : {randomMatrix(50, 39, 4), randomMatrix(1, 1, 5), Matrix(0, 13)}) {
    writeNpy(dir / "m.npy", m);
    writeHtk(dir / "m.htk", m, 0.01, kHtkUser | kHtkDelta);
    for (const char* name : {"m.npy", "m.htk"}) {
      const auto back = readFeatures(dir / name);
      ASSERT_EQ(back.size(), 1u) << name;
      EXPECT_EQ(back[0].id, "m");
      expectSameBits(back[0].feats, m);
    }
  }
}

TEST(MatrixIo, HtkHeaderIsBigEndianWithPeriodAndKind) {
  test::TempDir dir;
  writeHtk(dir / "x.htk", randomMatrix(3, 4, 6), 0.01, kHtkUser | kHtkDelta | kHtkAccel);
  const HtkHeader h = readHtkHeader(dir / "x.htk");
  EXPECT_EQ(h.frames, 3);
  EXPECT_EQ(h.period, 100000);  // 10 ms in 100 ns units
  EXPECT_EQ(h.bytesPerFrame, 16);
  EXPECT_EQ(h.kind, 9 | 0400 | 01000);
  const std::string s = bytesOf(dir / "x.htk");
  EXPECT_EQ(s.substr(0, 4), std::string("\0\0\0\3", 4));
}

TEST(MatrixIo, NpyHeaderIsVersionOneAligned) {
  test::TempDir dir;
  writeNpy(dir / "x.npy", randomMatrix(2, 3, 7));
  const std::string s = bytesOf(dir / "x.npy");
  ASSERT_GE(s.size(), 10u);
  EXPECT_EQ(s.substr(0, 8), std::string("\x93NUMPY\1\0", 8));
  const std::size_t hlen = std::size_t(static_cast<unsigned char>(s[8])) | std::size_t(static_cast<unsigned char>(s[9])) << 8;
  EXPECT_EQ((10 + hlen) % 64, 0u);
  EXPECT_NE(s.find("'descr': '<f4', 'fortran_order': False, 'shape': (2, 3)"), std::string::npos);
  EXPECT_EQ(s.size(), 10 + hlen + 24);
}

TEST(MatrixIo, ReadsTheGoldenNpyFilesWrittenByNumPy) {
  const auto u = readFeatures(test::goldenPath("mfcc_utt1.npy"));
  ASSERT_EQ(u.size(), 1u);
  EXPECT_EQ(u[0].feats.cols, 13);
  EXPECT_GT(u[0].feats.rows, 400);
}

TEST(MatrixIo, RefusesDamagedFiles) {
  const std::string bin("x \0BFM \4\2\0\0\0\4\2\0\0\0", 17);
  const std::vector<std::pair<const char*, std::string>> bad = {
      {"binary data truncated", bin + std::string(12, '\0')},
      {"binary header truncated", bin.substr(0, 9)},
      {"compressed matrix", std::string("x \0BCM ", 7) + std::string(20, '\0')},
      {"text not closed", "x  [\n 1 2\n"},
      {"ragged text", "x  [\n 1 2\n 3 ]\n"},
      {"not a number", "x  [ 1 zz ]\n"},
      {"missing bracket", "x 1 2 3\n"},
      {"empty", ""},
      {"npy with big-endian data", std::string("\x93NUMPY\1\0\x46\0", 10) +
                                       "{'descr': '>f4', 'fortran_order': False, 'shape': (1, 1), }" +
                                       std::string(11, ' ') + "\n" + std::string(4, '\0')},
  };
  for (const auto& [what, bytes] : bad) EXPECT_THROW(parseFeatures(bytes, "id"), Error) << what;
}

}  // namespace
}  // namespace kels::tool
