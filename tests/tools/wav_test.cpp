// The WAV reader: valid encodings read exactly, every kind of damage refused with a message.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "error.h"
#include "tools_support.h"
#include "wav.h"

namespace kels::tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

void put(Bytes& b, std::uint32_t v, int n) {
  for (int i = 0; i < n; ++i) b.push_back(std::uint8_t(v >> (8 * i)));
}
void str(Bytes& b, const char* s) {
  for (int i = 0; i < 4; ++i) b.push_back(std::uint8_t(s[i]));
}

struct Fmt {
  std::uint16_t tag = 1, channels = 1, bits = 16;
  std::uint32_t rate = 16000;
  int blockAlign = -1;  // -1: consistent
  std::uint32_t size = 16;
};

Bytes fmtChunk(const Fmt& f) {
  Bytes b;
  str(b, "fmt ");
  put(b, f.size, 4);
  const std::uint16_t align = f.blockAlign >= 0 ? std::uint16_t(f.blockAlign)
                                                : std::uint16_t(f.channels * f.bits / 8);
  put(b, f.tag, 2); put(b, f.channels, 2); put(b, f.rate, 4); put(b, f.rate * align, 4);
  put(b, align, 2); put(b, f.bits, 2);
  for (std::uint32_t i = 16; i < f.size; ++i) b.push_back(0);
  return b;
}

Bytes dataChunk(const Bytes& payload, std::int64_t sizeField = -1) {
  Bytes b;
  str(b, "data");
  put(b, sizeField >= 0 ? std::uint32_t(sizeField) : std::uint32_t(payload.size()), 4);
  b.insert(b.end(), payload.begin(), payload.end());
  return b;
}

Bytes riff(const std::vector<Bytes>& chunks, std::int64_t sizeField = -1) {
  Bytes body;
  for (const auto& c : chunks) body.insert(body.end(), c.begin(), c.end());
  Bytes b;
  str(b, "RIFF");
  put(b, sizeField >= 0 ? std::uint32_t(sizeField) : std::uint32_t(body.size() + 4), 4);
  str(b, "WAVE");
  b.insert(b.end(), body.begin(), body.end());
  return b;
}

Bytes pcm16(const std::vector<int>& v) {
  Bytes b;
  for (int x : v) put(b, std::uint32_t(std::uint16_t(std::int16_t(x))), 2);
  return b;
}

Bytes goodWav() { return riff({fmtChunk(Fmt{}), dataChunk(pcm16({1, -2, 3, 32767, -32768}))}); }

TEST(Wav, Reads16BitMono) {
  const Bytes b = goodWav();
  const Audio a = parseWav(b.data(), b.size());
  EXPECT_EQ(a.sampleRate, 16000);
  EXPECT_EQ(a.channels, 1);
  EXPECT_EQ(a.samples, (std::vector<float>{1, -2, 3, 32767, -32768}));
}

TEST(Wav, KeepsTheFirstChannelAndSkipsOddChunks) {
  Fmt f;
  f.channels = 3;
  Bytes list;  // an odd-sized chunk is padded to even length
  str(list, "LIST");
  put(list, 3, 4);
  for (char c : {'a', 'b', 'c', '\0'}) list.push_back(std::uint8_t(c));
  const Bytes b = riff({fmtChunk(f), list, dataChunk(pcm16({10, 20, 30, -1, -2, -3}))});
  const Audio a = parseWav(b.data(), b.size());
  EXPECT_EQ(a.channels, 3);
  EXPECT_EQ(a.samples, (std::vector<float>{10, -1}));
}

TEST(Wav, ReadsFloatAndExtensibleIn16BitUnits) {
  Bytes payload;
  for (float v : {0.5f, -0.25f, 1.0f}) {
    std::uint32_t bits;
    std::memcpy(&bits, &v, 4);
    put(payload, bits, 4);
  }
  Fmt f;
  f.tag = 3;
  f.bits = 32;
  const Bytes plain = riff({fmtChunk(f), dataChunk(payload)});
  Fmt x = f;
  x.tag = 0xFFFE;
  x.size = 40;
  Bytes ext = fmtChunk(x);
  ext[8 + 24] = 3;  // sub-format GUID starts with the float tag
  const Bytes extensible = riff({ext, dataChunk(payload)});
  for (const Bytes* b : {&plain, &extensible}) {
    const Audio a = parseWav(b->data(), b->size());
    EXPECT_TRUE(a.isFloat);
    EXPECT_EQ(a.samples, (std::vector<float>{16384.0f, -8192.0f, 32768.0f}));
  }
}

TEST(Wav, WriterAndReaderAgree) {
  test::TempDir dir;
  const std::vector<float> s = {0, 1, -1, 1000.4f, -32768, 32767};
  for (bool asFloat : {false, true}) {
    writeWav(dir / "x.wav", s, 8000, asFloat);
    const Audio a = readWav(dir / "x.wav");
    ASSERT_EQ(a.samples.size(), s.size());
    EXPECT_EQ(a.sampleRate, 8000);
    for (std::size_t i = 0; i < s.size(); ++i)
      EXPECT_NEAR(a.samples[i], asFloat ? s[i] : std::round(s[i]), asFloat ? 1e-2 : 0.0);
  }
}

struct Bad {
  const char* what;
  std::function<Bytes()> make;
  const char* message;  // a fragment the error must contain
};

std::vector<Bad> badFiles() {
  auto fmtWith = [](std::function<void(Fmt&)> edit, Bytes payload = pcm16({1, 2})) {
    return [=] {
      Fmt f;
      edit(f);
      return riff({fmtChunk(f), dataChunk(payload)});
    };
  };
  return {
      {"empty file", [] { return Bytes{}; }, "too short"},
      {"header cut short", [] { Bytes b = goodWav(); b.resize(10); return b; }, "too short"},
      {"not RIFF", [] { Bytes b = goodWav(); b[0] = 'X'; return b; }, "not a RIFF"},
      {"not WAVE", [] { Bytes b = goodWav(); b[8] = 'A'; return b; }, "not WAVE"},
      {"truncated data", [] { Bytes b = goodWav(); b.resize(b.size() - 3); return b; }, "truncated"},
      {"RIFF size too large", [] { return riff({fmtChunk(Fmt{}), dataChunk(pcm16({1}))}, 1000); }, "truncated"},
      {"data size too large", [] {
         const Bytes d = dataChunk(pcm16({1, 2}), 400);
         return riff({fmtChunk(Fmt{}), d});
       }, "runs past the end"},
      {"chunk header cut", [] {
         Bytes b = riff({fmtChunk(Fmt{}), Bytes{'x', 'y', 'z', 'w'}});
         return b;
       }, "truncated chunk header"},
      {"fmt too short", fmtWith([](Fmt& f) { f.size = 12; }), "fmt chunk too short"},
      {"ADPCM", fmtWith([](Fmt& f) { f.tag = 2; f.bits = 4; }), "unsupported encoding"},
      {"8-bit PCM", fmtWith([](Fmt& f) { f.bits = 8; }), "16"},
      {"24-bit PCM", fmtWith([](Fmt& f) { f.bits = 24; }, Bytes(6, 0)), "unsupported PCM"},
      {"64-bit float", fmtWith([](Fmt& f) { f.tag = 3; f.bits = 64; }, Bytes(8, 0)), "unsupported float"},
      {"no channels", fmtWith([](Fmt& f) { f.channels = 0; f.blockAlign = 2; }), "0 channels"},
      {"block align wrong", fmtWith([](Fmt& f) { f.blockAlign = 4; }), "block align"},
      {"rate too low", fmtWith([](Fmt& f) { f.rate = 7999; }), "sample rate"},
      {"rate too high", fmtWith([](Fmt& f) { f.rate = 48001; }), "sample rate"},
      {"partial frame", fmtWith([](Fmt&) {}, Bytes{1, 2, 3}), "whole number"},
      {"empty data", fmtWith([](Fmt&) {}, Bytes{}), "empty"},
      {"data before fmt", [] { return riff({dataChunk(pcm16({1})), fmtChunk(Fmt{})}); }, "before the fmt"},
      {"no data chunk", [] { return riff({fmtChunk(Fmt{})}); }, "no data chunk"},
      {"no fmt chunk", [] {
         Bytes junk;
         str(junk, "junk");
         put(junk, 0, 4);
         return riff({junk});
       }, "no fmt chunk"},
      {"NaN sample", [] {
         Fmt f;
         f.tag = 3;
         f.bits = 32;
         Bytes p;
         put(p, 0x7FC00000u, 4);
         return riff({fmtChunk(f), dataChunk(p)});
       }, "non-finite"},
  };
}

TEST(Wav, RefusesDamagedAndUnsupportedFiles) {
  for (const Bad& bad : badFiles()) {
    const Bytes b = bad.make();
    try {
      parseWav(b.data(), b.size());
      ADD_FAILURE() << bad.what << ": accepted";
    } catch (const Error& e) {
      EXPECT_NE(std::string(e.what()).find(bad.message), std::string::npos)
          << bad.what << ": message was '" << e.what() << "'";
    }
  }
}

TEST(Wav, CommandLineReportsBadFilesAndExitsNonZero) {
  test::TempDir dir;
  int n = 0;
  std::string args;
  for (const Bad& bad : badFiles()) {
    const Bytes b = bad.make();
    const std::string path = dir / ("bad" + std::to_string(n++) + ".wav");
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(b.data()),
                                                std::streamsize(b.size()));
    args += " '" + path + "'";
  }
  args += " '" + dir / "missing.wav" + "'";
  const auto r = test::runKelsBinary("mfcc -q -o '" + dir / "out.ark" + "'" + args);
  EXPECT_EQ(r.status, 1) << r.output;
  // One line per file, naming it; and no crash on any of them.
  for (int i = 0; i < n; ++i)
    EXPECT_NE(r.output.find("bad" + std::to_string(i) + ".wav: "), std::string::npos) << r.output;
  EXPECT_NE(r.output.find("missing.wav: cannot open"), std::string::npos) << r.output;
}

}  // namespace
}  // namespace kels::tool
