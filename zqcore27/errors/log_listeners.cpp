#include "zqcore27/errors/log_listeners.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include "zqcore27/errors/single_line.h"
#include "zqcore27/platform/descriptor_file.h"
#include "zqcore27/strings/nat_string.h"

inline namespace zqcore27 {

namespace {

/// "2026-02-03T04:05:06.789Z 8 ".
String stampNow(LogVerbosityCode v) {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto today = floor<days>(now);
  const year_month_day date(today);
  const hh_mm_ss time(now - today);
  char stamp[64];
  std::snprintf(stamp, sizeof stamp, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ %u ", static_cast<int>(date.year()),
                static_cast<unsigned int>(date.month()), static_cast<unsigned int>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()),
                static_cast<unsigned int>(v));
  return stamp;
}

String worded(const Error& e, CStr* words) {
  String text(e.description(words));
  if (e.code() == 0) return text;
  char code[32];
  std::snprintf(code, sizeof code, " (error 0x%08x)", static_cast<unsigned int>(e.code()));
  text += code;
  return text;
}

constexpr platform::OpenFlags APPEND{.write = true, .create = true, .append = true, .binary = true};

}  // namespace

// --- LineLogListener ---

LineLogListener::LineLogListener(CStr* words, unsigned int verbosity) : fWords(words) { setVerbosity(verbosity); }

LineLogListener::~LineLogListener() = default;

void LineLogListener::log(const Error& e, LogVerbosityCode v) {
  if (v <= getVerbosity()) log(worded(e, fWords), v);
}

void LineLogListener::log(const String& s, LogVerbosityCode v) {
  if (v > getVerbosity()) return;
  const String text = singleLine(s);
  const OrlanSynchronized lock(fMutex);
  String line = stampNow(v);
  line += text;
  take_line(std::move(line));
}

// --- WritingLogListener ---

WritingLogListener::WritingLogListener(CStr* words, unsigned int verbosity) : LineLogListener(words, verbosity) {}

WritingLogListener::~WritingLogListener() = default;

std::uint32_t WritingLogListener::lost() {
  const OrlanSynchronized lock(fMutex);
  return fLost;
}

void WritingLogListener::take_line(String&& line) {
  ++fLost;  // until it is written: a stream may throw
  ++fUntold;
  if (fUntold > 1) {
    String told = stampNow(VERBOSITY_ALWAYS);
    char words[48];
    std::snprintf(words, sizeof words, "messages lost: %u", static_cast<unsigned int>(fUntold - 1));
    told += words;
    if (!write_line(told)) return;
    fUntold = 1;
  }
  if (!write_line(line)) return;
  --fLost;
  --fUntold;
}

bool WritingLogListener::write_line(const String& line) {
  String whole;
  if (fTorn) whole += u"\n";
  whole += line;
  whole += u"\n";
  NatString bytes;
  whole.toUTF8(bytes);
  const bool torn = std::exchange(fTorn, true);  // until it is written: a stream may throw
  const std::size_t n = bytes.size() - 1, stored = write_bytes(bytes.begin(), n);
  fTorn = stored == 0 ? torn : stored != n;
  return stored == n;
}

// --- StreamLogListener ---

StreamLogListener::StreamLogListener(std::ostream& stream, CStr* words, unsigned int verbosity)
    : WritingLogListener(words, verbosity), fOut(stream) {}

StreamLogListener::~StreamLogListener() = default;

std::size_t StreamLogListener::write_bytes(const char* bytes, std::size_t n) {
  const bool tried = fOut.good();
  fOut.write(bytes, static_cast<std::streamsize>(n));
  fOut.flush();
  if (fOut.good()) return n;
  return tried ? n - 1 : 0;  // a stream doesn't tell how much of it stands: anything short of the whole
}

// --- FileLogListener ---

FileLogListener::FileLogListener(const String& path, CStr* words, unsigned int verbosity)
    : WritingLogListener(words, verbosity), fDescriptor(platform::openFile(NatString(path).begin(), APPEND)) {}

FileLogListener::~FileLogListener() {
  if (isOpen()) platform::closeFile(fDescriptor);
}

std::size_t FileLogListener::write_bytes(const char* bytes, std::size_t n) {
  return isOpen() ? platform::writeFile(fDescriptor, bytes, n) : 0;
}

// --- RecentLogListener ---

RecentLogListener::RecentLogListener(std::uint32_t capacity, CStr* words, unsigned int verbosity)
    : LineLogListener(words, verbosity), fCapacity(capacity) {}

RecentLogListener::~RecentLogListener() = default;

void RecentLogListener::take_line(String&& line) {
  if (fLines.size() < fCapacity) {
    fLines.push_back(std::move(line));
  } else if (fCapacity != 0) {
    fLines[fOldest] = std::move(line);
    fOldest = (fOldest + 1) % fCapacity;
  }
}

std::uint32_t RecentLogListener::count() {
  const OrlanSynchronized lock(fMutex);
  return static_cast<std::uint32_t>(fLines.size());
}

String RecentLogListener::text() {
  const OrlanSynchronized lock(fMutex);
  String all;
  for (std::size_t i = 0; i < fLines.size(); ++i) {
    all += fLines[(fOldest + i) % fLines.size()];
    all += u"\n";
  }
  return all;
}

}  // namespace zqcore27
