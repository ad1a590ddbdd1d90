// kels: feature matrices and their file formats. Kaldi text and binary archives hold many
// utterances in one file; HTK parameter files and NumPy .npy files hold one each.
#ifndef KELS_TOOLS_MATRIX_IO_H
#define KELS_TOOLS_MATRIX_IO_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace kels::tool {

struct Matrix {
  int rows = 0, cols = 0;
  std::vector<float> data;  // row-major, rows x cols
  Matrix() = default;
  Matrix(int r, int c) : rows(r), cols(c), data(std::size_t(r) * std::size_t(c), 0.0f) {}
  float* row(int i) { return data.data() + std::size_t(i) * std::size_t(cols); }
  const float* row(int i) const { return data.data() + std::size_t(i) * std::size_t(cols); }
};

struct Utterance {
  std::string id;
  Matrix feats;
};

enum class Format { kText, kArk, kHtk, kNpy };

// "text", "ark", "htk" or "npy"; throws Error otherwise.
Format parseFormat(const std::string& name);
// From a file name: .txt -> text, .ark -> ark, .npy -> npy, .htk/.mfc/.fbk/.plp -> htk;
// returns false when the extension says nothing.
bool formatFromExtension(const std::string& path, Format* out);
const char* extensionOf(Format f);
bool isArchive(Format f);  // text and ark hold many utterances

// HTK parameter kinds (base kinds and qualifier bits).
enum : std::uint16_t {
  kHtkMfcc = 6, kHtkFbank = 7, kHtkUser = 9,
  kHtkEnergy = 0100, kHtkDelta = 0400, kHtkAccel = 01000, kHtkC0 = 020000,
};

// Archive entries: "utt-id  [\n  rows ]\n" (text) or "utt-id \0BFM " + sizes + floats (binary).
void writeKaldiText(std::ostream& out, const Utterance& u);
void writeKaldiBinary(std::ostream& out, const Utterance& u);
// One matrix per file. The HTK frame period is in seconds; big-endian as HTK expects.
void writeHtk(const std::string& path, const Matrix& m, double framePeriod, std::uint16_t kind);
void writeNpy(const std::string& path, const Matrix& m);

// Reads every utterance of a feature file in any of the four formats, recognised by content
// (npy magic, an HTK header that matches the file size, else a Kaldi archive). Files that hold
// one matrix get the id given (by default the file's base name). Throws Error.
std::vector<Utterance> readFeatures(const std::string& path, const std::string& id = "");
std::vector<Utterance> parseFeatures(const std::string& bytes, const std::string& id);

struct HtkHeader {
  std::int32_t frames = 0, period = 0;  // period in 100 ns units
  std::int16_t bytesPerFrame = 0;
  std::uint16_t kind = 0;
};
HtkHeader readHtkHeader(const std::string& path);

std::string baseName(const std::string& path);  // no directory, no extension

}  // namespace kels::tool

#endif
