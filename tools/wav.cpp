// kels: RIFF/WAVE parsing. Every size field is checked against the bytes actually present, so
// a damaged file gives a clear message instead of garbage samples.
#include "wav.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "error.h"

namespace kels::tool {
namespace {

constexpr int kMinRate = 8000, kMaxRate = 48000;
constexpr std::uint16_t kPcm = 1, kFloat = 3, kExtensible = 0xFFFE;

std::uint16_t le16(const std::uint8_t* p) { return std::uint16_t(p[0] | p[1] << 8); }
std::uint32_t le32(const std::uint8_t* p) {
  return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 |
         std::uint32_t(p[3]) << 24;
}
std::string tag(const std::uint8_t* p) {
  std::string s(reinterpret_cast<const char*>(p), 4);
  for (char& c : s)
    if (c < 32 || c > 126) c = '?';
  return s;
}

struct Format {
  std::uint16_t encoding = 0, channels = 0, blockAlign = 0, bits = 0;
  std::uint32_t rate = 0;
};

Format parseFmt(const std::uint8_t* p, std::uint32_t size) {
  if (size < 16) throw Error("fmt chunk too short (" + std::to_string(size) + " bytes, need 16)");
  Format f;
  f.encoding = le16(p);
  f.channels = le16(p + 2);
  f.rate = le32(p + 4);
  f.blockAlign = le16(p + 12);
  f.bits = le16(p + 14);
  if (f.encoding == kExtensible) {
    if (size < 40) throw Error("extensible fmt chunk too short (" + std::to_string(size) + " bytes)");
    f.encoding = le16(p + 24);  // first two bytes of the sub-format GUID
  }
  if (f.encoding != kPcm && f.encoding != kFloat)
    throw Error("unsupported encoding (format tag " + std::to_string(f.encoding) +
                "); only PCM and IEEE float are read");
  if (f.encoding == kPcm && f.bits != 16)
    throw Error("unsupported PCM sample size of " + std::to_string(f.bits) + " bits; only 16");
  if (f.encoding == kFloat && f.bits != 32)
    throw Error("unsupported float sample size of " + std::to_string(f.bits) + " bits; only 32");
  if (f.channels < 1) throw Error("fmt chunk declares 0 channels");
  if (f.blockAlign != f.channels * (f.bits / 8))
    throw Error("block align " + std::to_string(f.blockAlign) + " does not match " +
                std::to_string(f.channels) + " channels of " + std::to_string(f.bits) + " bits");
  if (f.rate < std::uint32_t(kMinRate) || f.rate > std::uint32_t(kMaxRate))
    throw Error("unsupported sample rate " + std::to_string(f.rate) + " Hz (8000-48000)");
  return f;
}

}  // namespace

Audio parseWav(const std::uint8_t* data, std::size_t size) {
  if (size < 12) throw Error("file too short for a WAV header (" + std::to_string(size) + " bytes)");
  if (std::memcmp(data, "RIFF", 4) != 0)
    throw Error("not a RIFF file (starts with '" + tag(data) + "')");
  if (std::memcmp(data + 8, "WAVE", 4) != 0)
    throw Error("RIFF file is not WAVE (form type '" + tag(data + 8) + "')");
  const std::uint64_t riffEnd = std::uint64_t(le32(data + 4)) + 8;
  if (riffEnd > size)
    throw Error("truncated: the RIFF header announces " + std::to_string(riffEnd) +
                " bytes, the file has " + std::to_string(size));

  bool haveFmt = false;
  Format fmt;
  std::uint64_t at = 12;
  while (at < riffEnd) {
    if (riffEnd - at < 8) throw Error("truncated chunk header at byte " + std::to_string(at));
    const std::uint8_t* hdr = data + at;
    const std::uint32_t len = le32(hdr + 4);
    const std::uint64_t body = at + 8;
    if (body + len > riffEnd)
      throw Error("chunk '" + tag(hdr) + "' of " + std::to_string(len) + " bytes runs past the end " +
                  "of the file (truncated or wrong chunk size)");
    if (std::memcmp(hdr, "fmt ", 4) == 0) {
      fmt = parseFmt(data + body, len);
      haveFmt = true;
    } else if (std::memcmp(hdr, "data", 4) == 0) {
      if (!haveFmt) throw Error("data chunk before the fmt chunk");
      if (len % fmt.blockAlign != 0)
        throw Error("data chunk of " + std::to_string(len) + " bytes is not a whole number of " +
                    std::to_string(fmt.blockAlign) + "-byte frames");
      const std::size_t frames = len / fmt.blockAlign;
      if (frames == 0) throw Error("no audio: the data chunk is empty");
      Audio a;
      a.sampleRate = int(fmt.rate);
      a.channels = fmt.channels;
      a.isFloat = fmt.encoding == kFloat;
      a.samples.resize(frames);
      const std::uint8_t* p = data + body;
      for (std::size_t i = 0; i < frames; ++i, p += fmt.blockAlign) {
        if (a.isFloat) {
          const std::uint32_t bits = le32(p);
          float v;
          std::memcpy(&v, &bits, sizeof v);
          if (!std::isfinite(v))
            throw Error("non-finite float sample at frame " + std::to_string(i));
          a.samples[i] = v * 32768.0f;
        } else {
          a.samples[i] = float(std::int16_t(le16(p)));
        }
      }
      return a;
    }
    at = body + len + (len & 1);  // chunks are padded to an even length
  }
  throw Error(haveFmt ? "no data chunk" : "no fmt chunk");
}

Audio readWav(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) throw Error("cannot open");
  std::vector<std::uint8_t> bytes;
  std::uint8_t buf[1 << 16];
  for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) bytes.insert(bytes.end(), buf, buf + n);
  const bool bad = std::ferror(f) != 0;
  std::fclose(f);
  if (bad) throw Error("read error");
  return parseWav(bytes.data(), bytes.size());
}

void writeWav(const std::string& path, const std::vector<float>& samples, int sampleRate,
              bool asFloat) {
  const std::uint32_t bytesPer = asFloat ? 4 : 2;
  const std::uint32_t dataLen = std::uint32_t(samples.size()) * bytesPer;
  std::vector<std::uint8_t> out;
  auto put = [&](std::uint32_t v, int n) {
    for (int i = 0; i < n; ++i) out.push_back(std::uint8_t(v >> (8 * i)));
  };
  auto str = [&](const char* s) { out.insert(out.end(), s, s + 4); };
  str("RIFF"); put(36 + dataLen, 4); str("WAVE");
  str("fmt "); put(16, 4); put(asFloat ? kFloat : kPcm, 2); put(1, 2); put(std::uint32_t(sampleRate), 4);
  put(std::uint32_t(sampleRate) * bytesPer, 4); put(bytesPer, 2); put(bytesPer * 8, 2);
  str("data"); put(dataLen, 4);
  for (float s : samples) {
    if (asFloat) {
      const float v = s / 32768.0f;
      std::uint32_t bits;
      std::memcpy(&bits, &v, sizeof bits);
      put(bits, 4);
    } else {
      const long r = std::lround(std::clamp(s, -32768.0f, 32767.0f));
      put(std::uint32_t(std::uint16_t(std::int16_t(r))), 2);
    }
  }
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<const char*>(out.data()), std::streamsize(out.size()));
  if (!f) throw Error("cannot write " + path);
}

}  // namespace kels::tool
