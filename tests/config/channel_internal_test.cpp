// The channels aren't exported, and the seams between the blocks of a file show there, character by character.

#include <gtest/gtest.h>

#include "tests/config/sources.h"
#include "zqcore27/config/channel.h"
#include "zqcore27/config/decrypt_channel.h"
#include "zqcore27/config/file_channel.h"
#include "zqcore27/strings/transcode.h"

namespace {

constexpr std::uint16_t END = Config::EOF_CHAR;
using Units = std::basic_string<std::uint16_t>;

// Up to the end, which must come back, each character taken back once after every `n`.
Units allOf(ConfigDataChannel& channel, std::size_t n) {
  Units out;
  for (std::uint16_t c = channel.getC(); c != END; c = channel.getC()) {
    out += c;
    if (out.size() % n != 0) continue;
    EXPECT_EQ(channel.ungetC(c), c);
    EXPECT_EQ(channel.getC(), c) << "character " << out.size();
  }
  channel.ungetC(END);
  EXPECT_EQ(channel.getC(), END);
  EXPECT_EQ(channel.getC(), END);
  return out;
}

TEST(FileChannelTest, CharactersAcrossTheSeamInEveryCodePage) {
  static constexpr struct {
    unsigned int page;  // 0: UTF-8 by setUTF8
    const char* bytes;
    std::uint16_t unit;
  } ROWS[] = {{0, "\xE2\x82\xAC", 0x20AC},     {0, "\xC3\xA9", 0xE9},  {0, "\xFF", 0xFFFD},
              {65001, "\xE2\x82\xAC", 0x20AC}, {1252, "\x80", 0x20AC}, {932, "\x82\xA0", 0x3042}};
  for (const auto& row : ROWS) {
    setACPid(row.page == 0 ? 1252 : row.page);
    for (std::size_t before = 15990; before != 16004; ++before) {
      for (const std::string behind : {"", "x", "xyz"}) {
        SCOPED_TRACE(testing::Message() << row.unit << " in page " << row.page << " behind " << before << " bytes");
        const BytesFile file(std::string(before, 'a') + row.bytes + row.bytes + behind);
        ConfigDataChannelIFile channel(file.locator());
        channel.setUTF8(row.page == 0);
        EXPECT_TRUE(allOf(channel, 1) ==
                    Units(before, 'a') + row.unit + row.unit + Units(behind.begin(), behind.end()));
      }
    }
  }
  setACPid(65001);
}

// The blocks hold sequences' further bytes from before where the text now ends.
TEST(FileChannelTest, ACutOffCharacterIsNotCompletedByAnOlderBlock) {
  std::string bytes;
  while (bytes.size() < 5 * 16000) bytes += "\xE2\x82\xAC\x82";
  bytes.resize(5 * 16000, ' ');
  for (const char* end : {"\xC3", "\xE2", "\xE2\x82"}) {
    const BytesFile file(bytes + end);
    ConfigDataChannelIFile channel(file.locator());
    channel.setUTF8(true);
    EXPECT_EQ(allOf(channel, 5).back(), 0xFFFD);
  }
  setACPid(932);
  const BytesFile native(std::string(5 * 16000, '\xB1') + "\x82");
  ConfigDataChannelIFile channel(native.locator());
  EXPECT_THROW(allOf(channel, 5), StringError);
  EXPECT_EQ(channel.getC(), END);
  setACPid(65001);
}

TEST(FileChannelTest, TheEndStaysWhenItIsTaken) {
  for (const char* text : {"a", "a\x1Az", "a\xC0\x9Az"}) {
    const BytesFile plain(text), scrambled(armoured(text));
    auto source = std::make_unique<ConfigDataChannelIFile>(scrambled.locator());
    ConfigDataChannelIFile file(plain.locator());
    ConfigDataChannelIDecrypt decrypted(std::move(source), 0);
    file.setUTF8(true);
    decrypted.setUTF8(true);
    EXPECT_TRUE(allOf(file, 1) == Units({'a'})) << text;
    EXPECT_EQ(decrypted.getC(), '\n');
    EXPECT_EQ(decrypted.getC(), 'a');
    EXPECT_EQ(decrypted.getC(), text[1] == 0 ? '\n' : END) << text;
    for (int i = 0; i != 2; ++i) EXPECT_EQ(decrypted.getC(), END) << text;
  }
}

TEST(StreamChannelTest, BytesAreSignExtendedAndAZeroByteIsTheEnd) {
  std::istringstream stream(std::string("a\xE9\0b", 4));
  ConfigDataChannelIStream channel(stream);
  EXPECT_TRUE(allOf(channel, 1) == Units({'a', 0xFFE9}));
  EXPECT_THROW(channel.putC('a'), ConfigError);
}

TEST(StringChannelTest, EndsAtTheTerminatorAndAppends) {
  String text(u"ab\u20AC");
  ConfigDataChannelString channel(text);
  EXPECT_EQ(channel.getC(), 'a');
  EXPECT_EQ(channel.putC('c'), 'c');
  channel.putC(END);
  channel.putC(0);
  EXPECT_EQ(utf8(text), "ab\u20ACc");
  EXPECT_TRUE(allOf(channel, 1) == Units({'b', 0x20AC, 'c'}));
  ConfigDataChannelString readOnly(static_cast<const String&>(text));
  EXPECT_THROW(readOnly.putC('a'), ConfigError);
}

TEST(DecryptChannelTest, LinesAreLedInByALineFeed) {
  std::string padded = armoured("abcd");
  padded.replace(padded.size() - 2, 2, "11");  // the two bytes behind the text aren't zero then
  const std::string rows[][2] = {
      {padded, "\nabcd\n"},
      {"plain\nz0\n\nmore", "\nplain\nz0\nmore\n"},
      {"\n" + armoured("abc") + "\r\n\r\n" + armoured("d") + "\n", "\nabc\nd\n"},
      {armoured("a") + "\n" + armoured("ab") + "\n" + armoured("\x01 one"), "\na\nab\n\x01 one\n"},
      {armoured(std::string(5000, 'q')), "\n" + std::string(5000, 'q') + "\n"}};
  for (const auto& [source, text] : rows) {
    SCOPED_TRACE(source);
    for (const std::size_t n : {1, 3}) {
      std::istringstream stream(source);
      ConfigDataChannelIDecrypt channel(std::make_unique<ConfigDataChannelIStream>(stream), 0);
      EXPECT_TRUE(allOf(channel, n) == Units(text.begin(), text.end()));
    }
  }
}

TEST(DecryptChannelTest, DecodedBytesAreTextOfTheirOwn) {
  setACPid(1252);
  for (const bool utf8 : {false, true}) {
    std::istringstream stream(armoured("\x80\xE2\x82\xAC\xC3"));
    ConfigDataChannelIDecrypt channel(std::make_unique<ConfigDataChannelIStream>(stream), 0);
    channel.setUTF8(utf8);
    EXPECT_TRUE(allOf(channel, 1) == (utf8 ? Units({'\n', 0xFFFD, 0x20AC, 0xFFFD, '\n'})
                                           : Units({'\n', 0x20AC, 0xE2, 0x201A, 0xAC, 0xC3, '\n'})));
  }
  setACPid(65001);
}

// A character whose low byte is zero closes the line in hand, an empty one too.
TEST(DecryptChannelTest, AZeroLowByteClosesALine) {
  const String text(u"a\u0100\u0100b\n");
  ConfigDataChannelIDecrypt channel(std::make_unique<ConfigDataChannelString>(text), 0);
  EXPECT_TRUE(allOf(channel, 1) == Units({'\n', 'a', '\n', '\n', 'b', '\n'}));
}

}  // namespace
