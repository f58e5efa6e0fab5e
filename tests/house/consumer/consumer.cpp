#include <iostream>

#include "zqcore27/zqcore27.h"

int main(int, char** arguments) {
  gCore->fStringDirectory = ZQCORE27_CATALOGUE_DIR;
  CStrEnterprise catalogue(nullptr, String(), String(arguments[1]));
  const ConfigError error(0xC2000109, false);
  std::cout << String(error.description(&catalogue)) << '\n';
}
