#pragma once

// What the hosts of long runs do with the library.

#include "tests/long/long_run.h"
#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/thread_requester.h"

/// Reads a file to its end, or to its error, which is put into words.
inline void readConfiguration(const std::string& directory, bool whole) {
  Config config(FileLocator(String::fromUTF8(directory + (whole ? "/long.conf" : "/short.conf"))));
  std::int32_t statements = 0;
  try {
    for (; config.nextToken() != Config::EOF_TOKEN; ++statements) {
      require(config.getKeyword() == String("name"), "a keyword");
      require(config.matchSeparator(Config::EQUALS_TOKEN) != Config::NO_TOKEN, "=");
      require(config.getInt() == statements, "a number");
      require(config.matchSeparator(Config::COMMA_TOKEN) != Config::NO_TOKEN, ",");
      require(config.getStr() == String("a text of some size"), "a text");
      config.checkEOS();
    }
    require(whole && statements == LongRunFiles::STATEMENTS, "the end");
  } catch (const ConfigError& e) {
    CStrEnterprise words(nullptr, String(), String("en").begin());
    require(!whole && String(e.description(&words)).toUTF8() == "not closed in words", "the error, in words");
  }
}

/// Looks a text up and puts a value in.
inline void lookUp(std::uint32_t word) {
  CStrEnterprise words(nullptr, String(), String("en").begin());
  String text;
  words.build(text, LongRunFiles::FIRST_WORD + word, String("value").begin());
  require(text.toUTF8() == "value before word " + String(twoDigits(word)).toUTF8(), "a text with its value");
}

inline void useAll(const std::string& directory) {
  readConfiguration(directory, true);
  readConfiguration(directory, false);
  for (std::uint32_t i = 0; i < LongRunFiles::WORDS; i += 7) lookUp(i);
  ThreadPool standing(2, 2), growing(0, 1);
  ThreadRequester client(&standing), other(&growing);
  require(client.submit([] { return 42; }).get() == 42, "a result");
  for (int i = 0; i < 3; ++i) (void)other.submit([] { return 42; });  // its worker leaves when there is no more
}
