// kels: reading and writing feature matrices. Binary formats are written byte by byte in their
// declared byte order, so the files are the same on every host.
#include "matrix_io.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>

#include "error.h"

namespace kels::tool {
namespace {

std::uint32_t floatBits(float v) {
  std::uint32_t b;
  std::memcpy(&b, &v, sizeof b);
  return b;
}
float bitsFloat(std::uint32_t b) {
  float v;
  std::memcpy(&v, &b, sizeof v);
  return v;
}
void putLe32(std::string& s, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) s.push_back(char(v >> (8 * i)));
}
void putBe(std::string& s, std::uint32_t v, int n) {
  for (int i = n - 1; i >= 0; --i) s.push_back(char(v >> (8 * i)));
}
std::uint32_t getLe32(const char* p) {
  const auto* u = reinterpret_cast<const unsigned char*>(p);
  return std::uint32_t(u[0]) | std::uint32_t(u[1]) << 8 | std::uint32_t(u[2]) << 16 |
         std::uint32_t(u[3]) << 24;
}
std::uint32_t getBe(const char* p, int n) {
  const auto* u = reinterpret_cast<const unsigned char*>(p);
  std::uint32_t v = 0;
  for (int i = 0; i < n; ++i) v = v << 8 | u[i];
  return v;
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream f(path, std::ios::binary);
  f.write(bytes.data(), std::streamsize(bytes.size()));
  f.close();
  if (!f) throw Error("cannot write " + path);
}

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Error(path + ": cannot open");
  std::string s((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) throw Error(path + ": read error");
  return s;
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// A cursor over an archive with the error context built in.
struct Cursor {
  const std::string& s;
  std::size_t at = 0;
  void skipSpace() {
    while (at < s.size() && isSpace(s[at])) ++at;
  }
  bool done() {
    skipSpace();
    return at >= s.size();
  }
  std::string token() {
    skipSpace();
    const std::size_t from = at;
    while (at < s.size() && !isSpace(s[at])) ++at;
    return s.substr(from, at - from);
  }
  [[noreturn]] void fail(const std::string& what) const {
    throw Error("bad Kaldi archive at byte " + std::to_string(at) + ": " + what);
  }
  std::uint32_t sizeField() {  // binary "\4" + int32
    if (at + 5 > s.size()) fail("truncated matrix header");
    if (s[at] != 4) fail("expected a 4-byte size field");
    const std::uint32_t v = getLe32(&s[at + 1]);
    at += 5;
    return v;
  }
};

Matrix readKaldiBinaryMatrix(Cursor& c) {
  if (c.at + 3 > c.s.size()) c.fail("truncated matrix type");
  const std::string type = c.s.substr(c.at, 3);
  if (type != "FM " && type != "DM ")
    c.fail("unsupported matrix type '" + type.substr(0, 2) + "' (float or double matrices only)");
  c.at += 3;
  const std::uint32_t rows = c.sizeField(), cols = c.sizeField();
  if (rows > 0x7fffffff || cols > 0x7fffffff) c.fail("negative matrix size");
  const std::size_t elem = type == "FM " ? 4 : 8;
  const std::uint64_t n = std::uint64_t(rows) * cols;
  if (n * elem > c.s.size() - c.at) c.fail("matrix data truncated");
  Matrix m{int(rows), int(cols)};
  for (std::size_t i = 0; i < n; ++i, c.at += elem) {
    if (elem == 4) {
      m.data[i] = bitsFloat(getLe32(&c.s[c.at]));
    } else {
      const std::uint64_t b = std::uint64_t(getLe32(&c.s[c.at])) |
                              std::uint64_t(getLe32(&c.s[c.at + 4])) << 32;
      double d;
      std::memcpy(&d, &b, sizeof d);
      m.data[i] = float(d);
    }
  }
  return m;
}

Matrix readKaldiTextMatrix(Cursor& c) {
  if (c.token() != "[") c.fail("expected '['");
  std::vector<float> values;
  int cols = -1, rows = 0, inRow = 0;
  for (;;) {
    // Rows end at a newline; the matrix ends at ']'.
    while (c.at < c.s.size() && (c.s[c.at] == ' ' || c.s[c.at] == '\t' || c.s[c.at] == '\r')) ++c.at;
    if (c.at >= c.s.size()) c.fail("matrix not closed with ']'");
    const char ch = c.s[c.at];
    if (ch == '\n' || ch == ']') {
      if (inRow > 0) {
        if (cols >= 0 && inRow != cols) c.fail("rows of different lengths");
        cols = inRow;
        ++rows;
        inRow = 0;
      }
      ++c.at;
      if (ch == ']') break;
      continue;
    }
    const std::string t = c.token();
    char* end = nullptr;
    const float v = std::strtof(t.c_str(), &end);
    if (t.empty() || *end != '\0') c.fail("not a number: '" + t + "'");
    values.push_back(v);
    ++inRow;
  }
  Matrix m;
  m.rows = rows;
  m.cols = rows > 0 ? cols : 0;
  m.data = std::move(values);
  return m;
}

bool looksLikeHtk(const std::string& s) {
  if (s.size() < 12) return false;
  const std::int32_t frames = std::int32_t(getBe(s.data(), 4));
  const std::int32_t period = std::int32_t(getBe(s.data() + 4, 4));
  const std::int32_t bytes = std::int16_t(getBe(s.data() + 8, 2));
  return frames >= 0 && period > 0 && bytes > 0 && bytes % 4 == 0 &&
         std::uint64_t(frames) * std::uint64_t(bytes) + 12 == s.size();
}

Matrix parseHtk(const std::string& s) {
  const int frames = int(getBe(s.data(), 4));
  const int cols = int(std::int16_t(getBe(s.data() + 8, 2))) / 4;
  Matrix m(frames, cols);
  for (std::size_t i = 0; i < m.data.size(); ++i) m.data[i] = bitsFloat(getBe(&s[12 + 4 * i], 4));
  return m;
}

Matrix parseNpy(const std::string& s) {
  auto fail = [](const std::string& w) -> Matrix { throw Error("bad .npy file: " + w); };
  if (s.size() < 10 || std::memcmp(s.data(), "\x93NUMPY", 6) != 0) return fail("no magic");
  const int major = static_cast<unsigned char>(s[6]);
  std::size_t hlen, hstart;
  if (major == 1) {
    hlen = std::size_t(static_cast<unsigned char>(s[8])) | std::size_t(static_cast<unsigned char>(s[9])) << 8;
    hstart = 10;
  } else if ((major == 2 || major == 3) && s.size() >= 12) {
    hlen = getLe32(&s[8]);
    hstart = 12;
  } else {
    return fail("unsupported version " + std::to_string(major));
  }
  if (hstart + hlen > s.size()) return fail("header truncated");
  const std::string h = s.substr(hstart, hlen);
  auto field = [&](const std::string& key) {
    const std::size_t k = h.find("'" + key + "'");
    if (k == std::string::npos) fail("header has no " + key);
    std::size_t v = h.find(':', k);
    if (v == std::string::npos) fail("header field " + key + " has no value");
    ++v;
    while (v < h.size() && h[v] == ' ') ++v;
    return v;
  };
  std::size_t d = field("descr");
  const std::string descr = h.substr(d, 5);
  const bool f4 = descr == "'<f4'", f8 = descr == "'<f8'";
  if (!f4 && !f8) return fail("only little-endian float32/float64 arrays are read");
  if (h.compare(field("fortran_order"), 5, "False") != 0) return fail("Fortran order not supported");
  std::size_t p = field("shape");
  if (h[p] != '(') return fail("bad shape");
  std::vector<long> dims;
  ++p;
  while (p < h.size() && h[p] != ')') {
    char* end = nullptr;
    const long v = std::strtol(h.c_str() + p, &end, 10);
    if (end == h.c_str() + p) {
      ++p;
      continue;
    }
    dims.push_back(v);
    p = std::size_t(end - h.c_str());
  }
  if (dims.empty() || dims.size() > 2 || dims[0] < 0 || (dims.size() == 2 && dims[1] < 0))
    return fail("only 1-D and 2-D arrays are read");
  const long rows = dims[0], cols = dims.size() == 2 ? dims[1] : 1;
  const std::size_t elem = f4 ? 4 : 8, n = std::size_t(rows) * std::size_t(cols);
  const std::size_t at = hstart + hlen;
  if (n * elem != s.size() - at) return fail("data size does not match the shape");
  Matrix m{int(rows), int(cols)};
  for (std::size_t i = 0; i < n; ++i) {
    if (f4) {
      m.data[i] = bitsFloat(getLe32(&s[at + 4 * i]));
    } else {
      const std::uint64_t b = std::uint64_t(getLe32(&s[at + 8 * i])) |
                              std::uint64_t(getLe32(&s[at + 8 * i + 4])) << 32;
      double v;
      std::memcpy(&v, &b, sizeof v);
      m.data[i] = float(v);
    }
  }
  return m;
}

}  // namespace

Format parseFormat(const std::string& name) {
  if (name == "text" || name == "txt") return Format::kText;
  if (name == "ark") return Format::kArk;
  if (name == "htk") return Format::kHtk;
  if (name == "npy") return Format::kNpy;
  throw Error("unknown format '" + name + "' (text, ark, htk or npy)");
}

bool formatFromExtension(const std::string& path, Format* out) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || path.find('/', dot) != std::string::npos) return false;
  const std::string ext = path.substr(dot + 1);
  if (ext == "txt") *out = Format::kText;
  else if (ext == "ark") *out = Format::kArk;
  else if (ext == "npy") *out = Format::kNpy;
  else if (ext == "htk" || ext == "mfc" || ext == "fbk" || ext == "plp") *out = Format::kHtk;
  else return false;
  return true;
}

const char* extensionOf(Format f) {
  switch (f) {
    case Format::kText: return ".txt";
    case Format::kArk: return ".ark";
    case Format::kHtk: return ".htk";
    case Format::kNpy: return ".npy";
  }
  return "";
}

bool isArchive(Format f) { return f == Format::kText || f == Format::kArk; }

void writeKaldiText(std::ostream& out, const Utterance& u) {
  out << u.id << "  [";
  char buf[32];
  for (int i = 0; i < u.feats.rows; ++i) {
    out << "\n ";
    const float* r = u.feats.row(i);
    for (int j = 0; j < u.feats.cols; ++j) {
      std::snprintf(buf, sizeof buf, " %.9g", double(r[j]));  // 9 digits: floats round-trip
      out << buf;
    }
  }
  out << " ]\n";
}

void writeKaldiBinary(std::ostream& out, const Utterance& u) {
  std::string s = u.id;
  s += ' ';
  s += '\0';
  s += "BFM ";
  s += '\4';
  putLe32(s, std::uint32_t(u.feats.rows));
  s += '\4';
  putLe32(s, std::uint32_t(u.feats.cols));
  for (float v : u.feats.data) putLe32(s, floatBits(v));
  out.write(s.data(), std::streamsize(s.size()));
}

void writeHtk(const std::string& path, const Matrix& m, double framePeriod, std::uint16_t kind) {
  if (m.cols * 4 > 32767) throw Error("too many columns for an HTK file");
  std::string s;
  putBe(s, std::uint32_t(m.rows), 4);
  putBe(s, std::uint32_t(std::lround(framePeriod * 1e7)), 4);
  putBe(s, std::uint32_t(m.cols * 4), 2);
  putBe(s, kind, 2);
  for (float v : m.data) putBe(s, floatBits(v), 4);
  writeFile(path, s);
}

void writeNpy(const std::string& path, const Matrix& m) {
  std::string h = "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(m.rows) +
                  ", " + std::to_string(m.cols) + "), }";
  // Magic, version, header length, header padded with spaces to a 64-byte boundary plus '\n'.
  while ((10 + h.size() + 1) % 64 != 0) h += ' ';
  h += '\n';
  std::string s("\x93NUMPY\x01\x00", 8);
  s += char(h.size() & 0xff);
  s += char(h.size() >> 8);
  s += h;
  for (float v : m.data) putLe32(s, floatBits(v));
  writeFile(path, s);
}

std::vector<Utterance> parseFeatures(const std::string& s, const std::string& id) {
  if (s.size() >= 6 && std::memcmp(s.data(), "\x93NUMPY", 6) == 0) return {{id, parseNpy(s)}};
  if (looksLikeHtk(s)) return {{id, parseHtk(s)}};
  std::vector<Utterance> out;
  Cursor c{s};
  while (!c.done()) {
    Utterance u;
    u.id = c.token();
    if (c.at < s.size() && s[c.at] == ' ') ++c.at;
    if (c.at + 1 < s.size() && s[c.at] == '\0' && s[c.at + 1] == 'B') {
      c.at += 2;
      u.feats = readKaldiBinaryMatrix(c);
    } else {
      u.feats = readKaldiTextMatrix(c);
    }
    out.push_back(std::move(u));
  }
  if (out.empty()) throw Error("no features found (empty file)");
  return out;
}

std::vector<Utterance> readFeatures(const std::string& path, const std::string& id) {
  try {
    return parseFeatures(slurp(path), id.empty() ? baseName(path) : id);
  } catch (const Error& e) {
    const std::string msg = e.what();
    if (msg.compare(0, path.size(), path) == 0) throw;
    throw Error(path + ": " + msg);
  }
}

HtkHeader readHtkHeader(const std::string& path) {
  const std::string s = slurp(path);
  if (!looksLikeHtk(s)) throw Error(path + ": not an HTK parameter file");
  HtkHeader h;
  h.frames = std::int32_t(getBe(s.data(), 4));
  h.period = std::int32_t(getBe(s.data() + 4, 4));
  h.bytesPerFrame = std::int16_t(getBe(s.data() + 8, 2));
  h.kind = std::uint16_t(getBe(s.data() + 10, 2));
  return h;
}

std::string baseName(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  std::string b = slash == std::string::npos ? path : path.substr(slash + 1);
  const std::size_t dot = b.rfind('.');
  if (dot != std::string::npos && dot > 0) b.erase(dot);
  return b;
}

}  // namespace kels::tool
