#pragma once

#include "zqcore27/config/config.h"
#include "zqcore27/files/file_locator.h"

/// Takes every token of the configuration file, and uses none.
inline void tokenise(const FileLocator& path) {
  Config config(path);
  Config::TokenType token;
  while ((token = config.nextToken()) != Config::EOF_TOKEN) {
    if (token == Config::EOS_TOKEN) {
      config.checkEOS();
    } else {
      config.releaseToken();
    }
  }
}
