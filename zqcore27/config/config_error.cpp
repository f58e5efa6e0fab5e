#include "zqcore27/config/config_error.h"

inline namespace zqcore27 {

ConfigError::ConfigError(std::uint32_t code, bool fatal) : Error(code, fatal) {}
ConfigError::ConfigError(const ConfigError&) = default;
ConfigError& ConfigError::operator=(const ConfigError&) = default;
ConfigError::~ConfigError() = default;

const char* ConfigError::module() const { return "Config code"; }

}  // namespace zqcore27
