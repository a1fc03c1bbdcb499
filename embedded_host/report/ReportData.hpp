#pragma once

#include "embedded_host/report/TraceContents.hpp"

#include <string>

namespace tovrinhost {

/// What a report's page shows, as the JSON that its script reads. Safe within an HTML script element: there is no
/// "<" in it.
///
///     { "program": "script.lua",
///       "timers": [{ "name", "settings", "period", "runs", "missed", "failed", "busy": seconds,
///                    "measured": [median, 99th percentile, maximum], "withMissed": [the same] }, ...],
///       "firings": [[timer, callback, state, due, dispatched, started, ended, missed, firstDue, explanation],
///       ...] }
///
/// Moments and spans are whole microseconds since the program began; but `busy`, which is in seconds. A moment
/// that has not come is null, and none comes before the beginning. "withMissed" counts each firing that was missed
/// as one that is as late as the callback that made up for it.
std::string reportData(const TraceContents& trace);

} // namespace tovrinhost
