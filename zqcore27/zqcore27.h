#pragma once

// Every exported class and function of the library.

#include "zqcore27/core/memory.h"
#include "zqcore27/errors/basic_errors.h"
#include "zqcore27/errors/cstr.h"
#include "zqcore27/errors/error.h"
#include "zqcore27/errors/error_container.h"
#include "zqcore27/errors/error_error_insert.h"
#include "zqcore27/errors/error_insert.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/transcode.h"
#include "zqcore27/strings/wide_string.h"
