// Text beside QString, ICU and iconv: construction, appending, comparison, search, case, UTF-8 and code pages.

#include <benchmark/benchmark.h>
#include <iconv.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/transcode.h"

#ifdef HAVE_QT
#include <QByteArray>
#include <QString>
#endif
#ifdef HAVE_ICU
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#endif

namespace {

constexpr std::size_t KIB = 1024;

// --- Texts ---

constexpr std::u16string_view ASCII_WORDS =
    u"the quick brown fox jumps over a lazy dog while configuration values are read from every file, line by line; "
    u"numbers like 1024 and 65535 stand between words such as index threshold message catalogue or handle. ";
constexpr std::u16string_view LATIN_WORDS =
    u"für größte Übung später möglich zwölf schön é déjà garçon où très être naïf año niño señor mañana está más "
    u"över åter när från ærlig født og the file is there naive list words between long sentences without marks ";
constexpr std::u16string_view GREEK_AND_CYRILLIC_WORDS =
    u"λόγου κείμενο αρχείο γραμμή δέντρο текст строка файл дерево слово между длинными ёлка щука эхо ";
constexpr std::u16string_view JAPANESE_WORDS =
    u"吾輩は猫である 名前はまだ無い どこで生れたか とんと見当が つかぬ 何でも薄暗い じめじめした所で ニャーニャー "
    u"泣いていた事だけは 記憶している カタログ メッセージ 設定ファイル 読み込み 変換表 文字列 検索と置換 ";

/// `size` units of words of the list in random order, a blank between them.
std::u16string text(std::u16string_view list, std::size_t size, bool anyCase = false) {
  std::vector<std::u16string> words;
  std::size_t start = 0;
  for (std::size_t end; (end = list.find(u' ', start)) != list.npos; start = end + 1) {
    words.emplace_back(list.substr(start, end + 1 - start));
  }
  std::mt19937 random(27);
  std::u16string out;
  while (out.size() < size) out += words[random() % words.size()];
  out.resize(size);
  if (anyCase) {
    for (char16_t& c : out) {
      if (random() % 2 != 0 && c != u'ß') c = static_cast<char16_t>(String::chrToUpper(c));
    }
  }
  return out;
}

std::u16string mixedWords() {
  std::u16string list(ASCII_WORDS.substr(0, 60));
  list += u" ";
  list += LATIN_WORDS;
  list += GREEK_AND_CYRILLIC_WORDS;
  std::erase(list, u'ß');  // QString writes it as two letters in upper case
  return list;
}

std::u16string asciiText(std::size_t size, bool anyCase = false) { return text(ASCII_WORDS, size, anyCase); }
std::u16string mixedText(std::size_t size) { return text(mixedWords(), size, true); }

/// Japanese has no blanks between words: commas stand there, and lines end.
std::u16string japaneseText(std::size_t size) {
  std::u16string out = text(JAPANESE_WORDS, size);
  std::replace(out.begin(), out.end(), u' ', u'、');
  for (std::size_t i = 40; i < size; i += 40) out[i] = u'\n';
  return out;
}

std::string narrow(std::u16string_view s) { return {s.begin(), s.end()}; }
std::u16string unitsOf(const String& s) { return {s.units().begin(), s.units().end()}; }

// --- Rows ---

template <typename Work>
void row(const std::string& name, const char* who, Work work) {
  benchmark::RegisterBenchmark(("text: " + name + "/" + who).c_str(), [work](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(work());
  });
}

/// A benchmark of wrong work is worth nothing.
void require(bool same, const std::string& name, const char* who) {
  if (same) return;
  std::cerr << "text: " << name << ": " << who << " gives another result\n";
  std::exit(1);
}

void limit(const std::string& name, std::size_t bytes) {
  const auto from = std::make_shared<std::vector<char>>(bytes, 'x'), to = std::make_shared<std::vector<char>>(bytes);
  row(name, "limit: memcpy", [=] {
    std::memcpy(to->data(), from->data(), from->size());
    benchmark::ClobberMemory();
    return to->data();
  });
}

#ifdef HAVE_QT
QString qt(std::u16string_view s) {
  return QString(reinterpret_cast<const QChar*>(s.data()), static_cast<qsizetype>(s.size()));
}
std::u16string unitsOf(const QString& s) { return s.toStdU16String(); }
#endif
#ifdef HAVE_ICU
icu::UnicodeString icuText(std::u16string_view s) { return {s.data(), static_cast<std::int32_t>(s.size())}; }
std::u16string unitsOf(const icu::UnicodeString& s) { return {s.getBuffer(), static_cast<std::size_t>(s.length())}; }
#endif

// --- Construction and appending ---

void construction(std::size_t size) {
  const std::string name = "construct from " + std::to_string(size / KIB) + " KiB of ASCII";
  const std::string ascii = narrow(asciiText(size));
  // Zero-terminated on both sides: with a number of bytes, String stops at a zero byte, and QString doesn't.
  const auto ours = [=] { return String(ascii.c_str()); };
  row(name, "zqcore27", ours);
  row(name, "zqcore27, counted", [=] { return String(ascii.data(), static_cast<unsigned>(ascii.size())); });
  limit(name, 2 * size);
#ifdef HAVE_QT
  const auto peer = [=] { return QString::fromLatin1(ascii.c_str()); };
  require(unitsOf(ours()) == unitsOf(peer()), name, "QString");
  row(name, "QString", peer);
  row(name, "QString, counted", [=] { return QString::fromLatin1(ascii.data(), static_cast<qsizetype>(size)); });
#endif
}

template <typename Text, typename Append>
Text appended(Append append) {
  Text s;
  for (int i = 0; i < 10000; ++i) append(s, static_cast<char16_t>('a' + i % 26));
  return s;
}

void appending() {
  const std::string name = "append one unit, 10,000 times";
  const auto ours = [] { return appended<String>([](String& s, char16_t c) { s += c; }); };
  row(name, "zqcore27", ours);
#ifdef HAVE_ICU
  const auto icuPeer = [] { return appended<icu::UnicodeString>([](icu::UnicodeString& s, char16_t c) { s += c; }); };
  require(unitsOf(ours()) == unitsOf(icuPeer()), name, "icu::UnicodeString");
  row(name, "icu::UnicodeString", icuPeer);
#endif
#ifdef HAVE_QT
  const auto qtPeer = [] { return appended<QString>([](QString& s, char16_t c) { s += QChar(c); }); };
  require(unitsOf(ours()) == unitsOf(qtPeer()), name, "QString");
  row(name, "QString", qtPeer);
#endif
}

// --- Comparison, search and case ---

void comparison(const std::string& what, const std::u16string& units) {
  const std::string name = "compare without case, 1 KiB of " + what;
  std::u16string other = units;
  for (std::size_t i = 0; i < other.size(); i += 1 + i % 3) {
    const auto c = static_cast<std::uint16_t>(other[i]);
    other[i] = static_cast<char16_t>(c == String::chrToUpper(c) ? String::chrToLower(c) : String::chrToUpper(c));
  }
  const String a(units), b(other);
  require(a == b && unitsOf(a) != unitsOf(b), name, "zqcore27");
  row(name, "zqcore27", [=] { return a == b; });
  row(name, "zqcore27, compare of pointers", [=] { return a.compare(a.begin(), b.begin(), true); });
#ifdef HAVE_QT
  const QString p = qt(units), q = qt(other);
  require(p.compare(q, Qt::CaseInsensitive) == 0, name, "QString");
  row(name, "QString", [=] { return p.compare(q, Qt::CaseInsensitive); });
#endif
}

void search(const std::string& what, bool ignoreCase, std::u16string units) {
  const std::string name = "search 64 KiB " + what;
  const std::u16string part = u"threshold of messages";
  units.replace(units.size() - part.size(), part.size(), part);
  if (ignoreCase) units[units.size() - 3] = u'G';
  const String s(units), t(part);
  require(s.find(t, ignoreCase) == s.begin() + s.size() - t.size(), name, "zqcore27");
  row(name, "zqcore27", [=] { return s.find(t, ignoreCase); });
#ifdef HAVE_QT
  const QString p = qt(units), q = qt(part);
  const auto peer = [=] { return p.indexOf(q, 0, ignoreCase ? Qt::CaseInsensitive : Qt::CaseSensitive); };
  require(peer() == static_cast<qsizetype>(units.size() - part.size()), name, "QString");
  row(name, "QString", peer);
#endif
}

void caseChange(const std::string& what, const std::u16string& units) {
  const String s(units);
  const auto upper = [=] {
    String copy(s);
    copy.toUpper();
    return copy;
  };
  const auto lower = [=] {
    String copy(s);
    copy.toLower();
    return copy;
  };
  const std::string toUpper = "toUpper, 64 KiB of " + what, toLower = "toLower, 64 KiB of " + what;
  row(toUpper, "zqcore27", upper);
  row(toLower, "zqcore27", lower);
  limit(toUpper, 2 * units.size());
  limit(toLower, 2 * units.size());
#ifdef HAVE_QT
  const QString q = qt(units);
  require(unitsOf(upper()) == unitsOf(q.toUpper()), toUpper, "QString");
  require(unitsOf(lower()) == unitsOf(q.toLower()), toLower, "QString");
  row(toUpper, "QString", [=] { return q.toUpper(); });
  row(toLower, "QString", [=] { return q.toLower(); });
#endif
}

// --- UTF-8 and code pages ---

void utf8(const std::string& what, const std::u16string& units) {
  const std::string in = "UTF-8 to units, 64 KiB of " + what, out = "units to UTF-8, 64 KiB of " + what;
  const String s(units);
  const std::string bytes = s.toUTF8();
  const auto decode = [=] {
    String decoded;
    decoded.buildfromUTF8(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()));
    return decoded;
  };
  const auto encode = [=] {
    NatString encoded;
    s.toUTF8(encoded);
    return encoded;
  };
  row(in, "zqcore27", decode);
  row(out, "zqcore27", encode);
  require(unitsOf(decode()) == units && encode().begin() == bytes, in, "zqcore27");
#ifdef HAVE_QT
  const QString q = qt(units);
  const auto qtDecode = [=] { return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size())); };
  require(qtDecode() == q && q.toUtf8().toStdString() == bytes, in, "QString");
  row(in, "QString", qtDecode);
  row(out, "QString", [=] { return q.toUtf8(); });
#endif
#ifdef HAVE_ICU
  const icu::UnicodeString u = icuText(units);
  const auto icuEncode = [=] {
    std::string encoded;
    u.toUTF8String(encoded);
    return encoded;
  };
  require(icu::UnicodeString::fromUTF8(bytes) == u && icuEncode() == bytes, in, "icu::UnicodeString");
  row(in, "icu::UnicodeString", [=] { return icu::UnicodeString::fromUTF8(bytes); });
  row(out, "icu::UnicodeString", icuEncode);
#endif
}

/// One direction of iconv into a buffer of enough room for every text here.
class Iconv {
 public:
  Iconv(const std::string& to, const std::string& from, std::size_t room)
      : fHandle(iconv_open(to.c_str(), from.c_str())), fOut(room) {}
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;
  ~Iconv() { iconv_close(fHandle); }

  std::string_view operator()(std::string_view bytes) {
    char* in = const_cast<char*>(bytes.data());
    char* out = fOut.data();
    std::size_t left = bytes.size(), room = fOut.size();
    if (iconv(fHandle, &in, &left, &out, &room) == static_cast<std::size_t>(-1)) return {};
    return {fOut.data(), fOut.size() - room};
  }

 private:
  iconv_t fHandle;
  std::vector<char> fOut;
};

void iconvRows(const std::string& in, const std::string& out, const std::string& page, const std::string& bytes,
               const std::u16string& units) {
  const std::string_view unitBytes(reinterpret_cast<const char*>(units.data()), 2 * units.size());
  const auto decode = std::make_shared<Iconv>("UTF-16LE", "CP" + page, 2 * unitBytes.size());
  const auto encode = std::make_shared<Iconv>("CP" + page, "UTF-16LE", 2 * unitBytes.size());
  require((*decode)(bytes) == unitBytes && (*encode)(unitBytes) == bytes, in, "iconv");
  row(in, "iconv", [=] { return (*decode)(bytes).size(); });
  row(out, "iconv", [=] { return (*encode)({reinterpret_cast<const char*>(units.data()), 2 * units.size()}).size(); });
}

#ifdef HAVE_ICU
void icuRows(const std::string& in, const std::string& out, const std::string& page, const std::string& bytes,
             const std::u16string& units) {
  UErrorCode status = U_ZERO_ERROR;
  const std::shared_ptr<UConverter> converter(ucnv_open(("windows-" + page).c_str(), &status), ucnv_close);
  const auto room = static_cast<std::int32_t>(2 * units.size() + 16);
  const auto decoded = std::make_shared<std::u16string>(static_cast<std::size_t>(room), u'\0');
  const auto encoded = std::make_shared<std::string>(static_cast<std::size_t>(room), '\0');
  const auto decode = [=] {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_toUChars(converter.get(), decoded->data(), room, bytes.data(), static_cast<std::int32_t>(bytes.size()),
                         &error);
  };
  const auto encode = [=] {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_fromUChars(converter.get(), encoded->data(), room, units.data(),
                           static_cast<std::int32_t>(units.size()), &error);
  };
  const auto unitCount = static_cast<std::size_t>(decode()), byteCount = static_cast<std::size_t>(encode());
  require(decoded->substr(0, unitCount) == units && encoded->substr(0, byteCount) == bytes, in, "ICU");
  row(in, "ICU", decode);
  row(out, "ICU", encode);
}
#endif

void native(unsigned page, const std::u16string& units) {
  const std::string number = std::to_string(page);
  const std::string in = "native " + number + " to units, 64 KiB", out = "units to native " + number + ", 64 KiB";
  setACPid(page);
  const String s(units);
  const std::string bytes = NatString(s).begin();
  // The page is set inside, as it is one for the process.
  const auto decode = [=] {
    setACPid(page);
    return String(bytes.data(), static_cast<unsigned>(bytes.size()));
  };
  const auto encode = [=] {
    setACPid(page);
    return NatString(s);
  };
  require(unitsOf(decode()) == units, in, "zqcore27");
  row(in, "zqcore27", decode);
  row(out, "zqcore27", encode);
  iconvRows(in, out, number, bytes, units);
#ifdef HAVE_ICU
  icuRows(in, out, number, bytes, units);
#endif
}

void registerAll() {
  construction(KIB);
  construction(64 * KIB);
  appending();
  comparison("ASCII", asciiText(KIB, true));
  comparison("mixed scripts", mixedText(KIB));
  search("with case", false, asciiText(64 * KIB));
  search("without case", true, asciiText(64 * KIB, true));
  caseChange("ASCII", asciiText(64 * KIB, true));
  caseChange("mixed scripts", mixedText(64 * KIB));
  utf8("ASCII", asciiText(64 * KIB));
  utf8("Latin", text(LATIN_WORDS, 64 * KIB));
  utf8("CJK", japaneseText(64 * KIB));
  native(1252, text(LATIN_WORDS, 64 * KIB));
  native(932, japaneseText(64 * KIB));
}

}  // namespace

int main(int argc, char** argv) {
  registerAll();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
}
