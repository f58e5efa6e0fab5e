// A small server logs: to standard output, with its last messages kept in memory for the report after a crash.

#include <iostream>

#include "zqcore27/zqcore27.h"

/// One message, two places.
class ServerLog : public LogListener {
 public:
  explicit ServerLog(CStr* words) : fScreen(std::cout, words, VERBOSITY_WARNING), fRecent(5, words, VERBOSITY_DEBUG) {}

  void log(const Error& e, LogVerbosityCode v) override {
    fScreen.log(e, v);
    fRecent.log(e, v);
  }
  void log(const String& s, LogVerbosityCode v) override {
    fScreen.log(s, v);
    fRecent.log(s, v);
  }
  RecentLogListener& recent() { return fRecent; }

 private:
  StreamLogListener fScreen;
  RecentLogListener fRecent;
};

static void serve(CoreLog& log) {
  for (int request = 1; request <= 6; ++request) {
    String text;
    text.build("request %d", request);
    log.log(text, VERBOSITY_DEBUG);
  }
  log.log("the disk is nearly full", VERBOSITY_WARNING);
  FpFormat().getHostValue("");  // raises: nobody has set the converter up
}

int main() {
  gCore->fStringDirectory = ZQCORE27_CATALOGUE_DIR;  // where the words of errors are
  CStrEnterprise words(nullptr, String(), nullptr);  // in the user's language
  auto* const listener = new ServerLog(&words);
  CoreLog log;
  log.setLog(listener);
  log.log("starting", VERBOSITY_ALWAYS);
  try {
    serve(log);
  } catch (const Error& e) {
    log.log(e, VERBOSITY_ERROR);
    log.eventlog("the server has failed", "log_host", 1, 1, 1);  // to the system's logger, if there is one
  }
  std::cout << "\nThe last " << listener->recent().count() << " messages:\n" << listener->recent().text();
}
