// A small server reads its settings: config_host FILE. A file that doesn't begin with a comment is a scrambled one.

#include <iostream>
#include <utility>
#include <vector>

#include "zqcore27/zqcore27.h"

struct Route {
  String name, address;
  std::int32_t weight = 1;
  double timeout = 0;
};

struct Settings {
  String server, greeting, logLevel, logFile;
  std::int32_t workers = 1, backlog = 16, offset = 0, logKeep = 7, limitBody = 0, limitRate = 0;
  double timeout = 10, limitFailures = 1;
  bool tls = false, maintenance = false;
  std::vector<std::int32_t> ports;
  std::vector<String> networks;
  std::vector<Route> routes;
  std::vector<std::pair<String, String>> headers;
};

/// The name of an option, after the comma that leads to it.
static bool nextOption(Config& config, String& name) {
  if (config.matchSeparator(Config::COMMA_TOKEN) == Config::NO_TOKEN) return false;
  name = config.getKeyword();
  return true;
}

static void readRoute(Config& config, Route& route) {
  route.name = config.getKeyword();
  config.matchSeparator(Config::EQUALS_TOKEN);
  route.address = config.getStr();
  for (String option; nextOption(config, option);) {
    if (option == "weight") route.weight = config.getInt();
    if (option == "timeout") route.timeout = config.getFp();
  }
}

static void readLog(Config& config, Settings& s) {
  String option = config.getKeyword();
  do {
    if (option == "level") s.logLevel = config.getKeyword();
    if (option == "file") s.logFile = config.getStr();
    if (option == "keep") s.logKeep = config.getInt();
  } while (nextOption(config, option));
}

static void readStatement(Config& config, Settings& s) {
  String name = config.getKeyword();
  if (name == "limit") name += config.getKeyword();
  config.matchSeparator(Config::EQUALS_TOKEN);
  if (name == "server") s.server = config.getStr();
  if (name == "greeting") s.greeting = config.getStr();
  if (name == "workers") s.workers = config.getInt();
  if (name == "backlog") s.backlog = config.getInt();
  if (name == "offset") s.offset = config.getInt();
  if (name == "timeout") s.timeout = config.getFp();
  if (name == "tls") s.tls = config.getBool();
  if (name == "maintenance") s.maintenance = config.getBool();
  if (name == "limitbody") s.limitBody = config.getInt();
  if (name == "limitrate") s.limitRate = config.getInt();
  if (name == "limitfailures") s.limitFailures = config.getFp();
  if (name == "log") readLog(config, s);
  if (name == "route") readRoute(config, s.routes.emplace_back());
  if (name == "header") {
    const String field = config.getStr();
    config.matchSeparator(Config::EQUALS_TOKEN);
    s.headers.emplace_back(field, config.getStr());
  }
  if (name == "listen") {
    do s.ports.push_back(config.getInt());
    while (config.matchSeparator(Config::COMMA_TOKEN));
  }
  if (name == "allow") {
    do s.networks.push_back(config.getStr());
    while (config.matchSeparator(Config::COMMA_TOKEN));
  }
  config.checkEOS();
}

static void print(const Settings& s) {
  std::cout << s.server << ": " << s.greeting << "\n" << s.workers << " workers, backlog " << s.backlog;
  std::cout << (s.tls ? ", with" : ", without") << " TLS, timeout " << s.timeout << " s, offset " << s.offset << " s\n";
  for (const std::int32_t port : s.ports) std::cout << "port " << port << "\n";
  for (const String& network : s.networks) std::cout << "from " << network << "\n";
  std::cout << "log " << s.logLevel << " to " << s.logFile << ", kept for " << s.logKeep << " days\n";
  for (const Route& r : s.routes) {
    std::cout << "route " << r.name << " to " << r.address << ", weight " << r.weight << ", " << r.timeout << " s\n";
  }
  for (const auto& [field, value] : s.headers) std::cout << "header " << field << ": " << value << "\n";
  std::cout << "limits: " << s.limitBody << " bytes, " << s.limitRate << "/s, " << s.limitFailures << " failing\n";
  std::cout << "maintenance " << (s.maintenance ? "on" : "off") << "\n";
}

int main(int argc, char** argv) {
  gCore->fStringDirectory = ZQCORE27_CATALOGUE_DIR;  // where the words of errors are
  CStrEnterprise words(nullptr, String(), nullptr);  // in the user's language
  const String file(argc > 1 ? argv[1] : "server.conf");
  try {
    Config config{FileLocator(file)};
    config.enableDecryption(0, true);
    config.setUTF8(true);
    Settings settings;
    try {
      while (config.nextToken() != Config::EOF_TOKEN) readStatement(config, settings);
    } catch (const Error&) {
      std::cerr << file << ":" << config.tokenLine() << ": ";
      throw;
    }
    print(settings);
  } catch (const Error& e) {
    std::cerr << String(e.description(&words)) << "\n";
    return 1;
  }
}
