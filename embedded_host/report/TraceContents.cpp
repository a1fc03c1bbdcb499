#include "embedded_host/report/TraceContents.hpp"

#include "embedded_host/diagnosis/TraceInput.hpp"

#include <algorithm>
#include <stdexcept>

namespace tovrinhost {

namespace {

/// What lies beside the firings: no trace of so many firings has more of it, unless its firings were lost.
constexpr std::size_t mostBesideFirings = 20 * TraceContents::mostFiringsOfAPage;

bool isWithin(const Firing& firing, const TraceWindow& window)
{
    const Nanoseconds first = firing.firstDue != 0 ? std::min(firing.firstDue, firing.due) : firing.due;
    return std::max(firing.due, firing.ended) >= window.from && first <= window.to;
}

/// \param reader of such lines
template <typename Piece>
void readPiece(TraceInput& lines, std::optional<Piece> (*reader)(std::string_view line), const TraceWindow& window,
    std::vector<Piece>& into)
{
    if (into.size() >= mostBesideFirings) {
        return;
    }
    if (const auto piece = lines.read(reader); piece && piece->from <= window.to) {
        into.push_back(*piece);
    }
}

template <typename Piece> bool beginsBefore(const Piece& piece, Nanoseconds moment)
{
    return piece.from < moment;
}

/// Calls `use` for each piece that lies between the two moments, at least in part.
template <typename Piece, typename Use>
void forEachWithin(
    const std::vector<Piece>& pieces, Nanoseconds longest, Nanoseconds from, Nanoseconds to, Use use)
{
    auto piece = std::lower_bound(pieces.begin(), pieces.end(), from - longest, beginsBefore<Piece>);
    for (; piece != pieces.end() && piece->from < to; ++piece) {
        if (piece->to > from) {
            use(*piece);
        }
    }
}

template <typename Piece> Nanoseconds sortByBeginning(std::vector<Piece>& pieces)
{
    std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) { return a.from < b.from; });
    Nanoseconds longest = 0;
    for (const Piece& piece : pieces) {
        longest = std::max(longest, piece.to - piece.from);
    }
    return longest;
}

} // namespace

TraceContents::TraceContents(const std::string& file, const TraceWindow& window, std::size_t mostFirings)
{
    read(file, window, mostFirings);
    putInOrder();
}

void TraceContents::read(const std::string& file, const TraceWindow& window, std::size_t mostFirings)
{
    TraceInput lines(file);
    m_program = readHeader(lines.line()).value_or("");
    std::size_t within = 0;
    while (lines.next()) {
        if (lines.is(trace::timer)) {
            if (auto event = lines.read(readTimer)) {
                m_timers.put(event->identity, std::move(event->description));
            }
        } else if (lines.is(trace::firing) || lines.is(trace::neverRan)) {
            const auto firing = lines.read(readFiring);
            if (firing && isWithin(*firing, window) && !isForNobody(*firing) && ++within <= mostFirings) {
                m_firings.push_back(*firing);
            }
        } else if (lines.is(trace::dispatch)) {
            readPiece(lines, readDispatch, window, m_dispatches);
        } else if (lines.is(trace::activity)) {
            readPiece(lines, readActivity, window, m_activities);
        }
    }
    if (within > mostFirings) {
        throw std::runtime_error("the trace \"" + file + "\" has " + std::to_string(within)
            + " firings, and a page holds " + std::to_string(mostFirings)
            + ": take a part of its time with --from and --to");
    }
}

void TraceContents::putInOrder()
{
    std::stable_sort(
        m_firings.begin(), m_firings.end(), [](const Firing& a, const Firing& b) { return a.due < b.due; });
    m_longestDispatch = sortByBeginning(m_dispatches);
    m_longestActivity = sortByBeginning(m_activities);
}

Explanation TraceContents::explain(const Firing& firing) const
{
    Circumstances circumstances;
    if (firing.started != 0) {
        forEachWithin(
            m_dispatches, m_longestDispatch, firing.due, firing.dispatched, [&](const DispatchEvent& event) {
                if (event.number != firing.number) {
                    circumstances.dispatches.push_back({ event.from, event.to });
                }
            });
        forEachWithin(m_activities, m_longestActivity, firing.taken, firing.started,
            [&](const Activity& activity) { circumstances.activities.push_back(activity); });
    }
    return tovrinhost::explain(firing, circumstances);
}

} // namespace tovrinhost
