#pragma once

// The abstract catalogue. It stands with the errors, which are worded through it, and its operations stand here.
#include "zqcore27/errors/cstr.h"
