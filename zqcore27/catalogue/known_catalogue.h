#pragma once

// Internal: a catalogue that a core has in use already.

#include <cstdint>

inline namespace zqcore27 {

class EntCStrFile;
class OrlanCore;
class String;

/// The first of the core's catalogues that fits, or null if none has been made yet. An empty locale is the user's own.
/// Errors: MemError. Threads: any, while the core lives.
EntCStrFile* knownCatalogue(OrlanCore& core, std::uint16_t code, const String& locale);

}  // namespace zqcore27
