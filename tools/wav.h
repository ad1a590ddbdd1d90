// kels: a WAV reader that refuses anything it cannot read exactly. 16-bit PCM and 32-bit float,
// plain or WAVE_FORMAT_EXTENSIBLE, any channel count (the first channel is kept), 8-48 kHz.
#ifndef KELS_TOOLS_WAV_H
#define KELS_TOOLS_WAV_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kels::tool {

struct Audio {
  std::vector<float> samples;  // first channel, in 16-bit units (float files are scaled by 32768)
  int sampleRate = 0;
  int channels = 0;
  bool isFloat = false;
};

// Throws Error with a message that says what is wrong (truncated, bad header, unsupported).
Audio parseWav(const std::uint8_t* data, std::size_t size);
Audio readWav(const std::string& path);

// Writes 16-bit PCM (samples rounded and clamped) or 32-bit float (samples / 32768) mono.
void writeWav(const std::string& path, const std::vector<float>& samples, int sampleRate,
              bool asFloat);

}  // namespace kels::tool

#endif
