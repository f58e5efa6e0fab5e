#pragma once

#include "tests/support/temp_dir.h"

/// Another name for it.
using TemporaryDirectory = TempDir;
