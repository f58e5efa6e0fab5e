// 100 MiB of lines of 60 bytes, read line by line into 16-bit text.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench/support/input_file.h"
#include "zqcore27/files/file.h"

#ifdef HAVE_QT
#include <QFile>
#include <QString>
#endif

namespace {

constexpr std::size_t LINE_BYTES = 60;  // with the line feed
constexpr std::size_t LINES = (100 << 20) / LINE_BYTES;

void writeLines(std::ostream& file) {
  for (std::size_t i = 0; i < LINES; ++i) {
    std::string line = "line " + std::to_string(i) + " ";
    while (line.size() < LINE_BYTES - 1) line += static_cast<char>('a' + line.size() * 7 % 26);
    file << line << '\n';
  }
}

const InputFile& input() {
  static const InputFile made("files_bench", writeLines);
  return made;
}

/// Takes all lines and keeps a sum over them, so that every reader is held to the same text.
struct Sum {
  std::size_t lines = 0;
  std::uint64_t units = 0;
  void add(std::size_t length, std::uint16_t last) {
    ++lines;
    units += length * 31 + last;
  }
  bool operator==(const Sum&) const = default;
};

Sum readWithLibrary() {
  Sum sum;
  File file;
  const String path(input().path().c_str());
  if (!file.open(FileLocator(path), File::MODE_READ | File::MODE_BINARY)) std::abort();
  String line;
  bool more = true;
  while (more) {
    more = file.readLine(line, String::NativeChar);
    if (line.size() != 0) sum.add(line.size(), line.begin()[line.size() - 1]);
  }
  return sum;
}

Sum readWithGetline() {
  Sum sum;
  std::ifstream file(input().path(), std::ios::binary);
  std::string line;
  std::u16string wide;
  while (std::getline(file, line)) {
    wide.resize(line.size());
    for (std::size_t i = 0; i < line.size(); ++i) wide[i] = static_cast<unsigned char>(line[i]);
    benchmark::DoNotOptimize(wide.data());
    sum.add(wide.size(), wide.back());
  }
  return sum;
}

#ifdef HAVE_QT
Sum readWithQt() {
  Sum sum;
  QFile file(QString::fromStdString(input().path()));
  if (!file.open(QIODevice::ReadOnly)) std::abort();
  char bytes[1024];
  for (qint64 n; (n = file.readLine(bytes, sizeof bytes)) > 0;) {
    const QString line = QString::fromUtf8(bytes, bytes[n - 1] == '\n' ? n - 1 : n);
    sum.add(static_cast<std::size_t>(line.size()), line.back().unicode());
  }
  return sum;
}
#endif

template <Sum (*READ)()>
void readLines(benchmark::State& state) {
  static const Sum expected = readWithGetline();
  for (auto _ : state) {
    if (READ() != expected) std::abort();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(LINES * LINE_BYTES));
}
BENCHMARK(readLines<readWithLibrary>)
    ->Name("files: read 100 MiB of lines of 60 bytes/zqcore27")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(readLines<readWithGetline>)
    ->Name("files: read 100 MiB of lines of 60 bytes/getline and widening")
    ->Unit(benchmark::kMillisecond);
#ifdef HAVE_QT
BENCHMARK(readLines<readWithQt>)
    ->Name("files: read 100 MiB of lines of 60 bytes/QFile and fromUtf8")
    ->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
