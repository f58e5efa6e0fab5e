#pragma once

#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {
namespace platform {

/// What an event reports, as one bit each; the numbers are those of the interfaces above. Others count as information.
enum EventType : std::uint16_t {
  EVENT_ERROR = 1,
  EVENT_WARNING = 2,
  EVENT_INFORMATION = 4,
  EVENT_AUDIT_SUCCESS = 8,
  EVENT_AUDIT_FAILURE = 16
};

/// Hands one message to the system's logger, under the name `tag`, which has no blank and none of ":[]". `text` is `n`
/// bytes without control characters. A text that is longer than the logger takes arrives cut, with a note of how much
/// is missing. Without a logger nothing happens; one that doesn't take its messages is waited for, a second at most.
/// The process's own connection to the logger, if it has one, and errno stay as they are. Threads: any.
void reportEvent(const char* tag, const char* text, std::size_t n, std::uint16_t type);

}  // namespace platform
}  // namespace zqcore27
