// Job pacing on two process-wide auto-reset events, and the library's own way
// to signal them (the exported entries only create, wait on and close them).
#pragma once
#include <cstdint>

namespace halftone::pacing {

// A timeout of this many milliseconds waits without limit.
inline constexpr std::uint32_t kInfinite = 0xFFFFFFFFu;

// Creates the ready event (signalled) and the done event (not signalled),
// replacing any pair created before. Returns 0.
int create_events();

// Waits on the done event, giving up after 50 timed-out waits of `timeout`
// milliseconds each, then on the ready event, giving up after 30. Returns 2
// when the ready event never came, otherwise 1 when the done event never came,
// otherwise 0. A missing event ends its phase at once, as a failed wait.
int wait_events(std::uint32_t timeout);

// Closes both events (done first). Returns 1, also when none were created.
int close_events();

enum class Event { Ready, Done };

// Signals one event: it stays signalled until one wait consumes it (an
// auto-reset event). Returns false when the event does not exist. Safe to call
// from another thread while wait_events runs.
bool signal(Event event);

}  // namespace halftone::pacing
