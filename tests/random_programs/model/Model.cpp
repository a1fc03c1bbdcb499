#include "tests/random_programs/model/Model.hpp"

#include "tests/random_programs/model/RuleNames.hpp"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <stdexcept>

namespace random_programs {

namespace {

bool isPump(const Event& event)
{
    return event.what == "pause" || event.what.starts_with("wait");
}

/// "wait a b 0.001": what is called, the names of the timers, and the limit, if there is one.
struct WaitForSeveral {
    std::vector<std::string> names;
    std::string limit;

    explicit WaitForSeveral(const std::string& argument)
    {
        std::istringstream words(argument);
        for (std::string word; words >> word;) {
            (std::isdigit(static_cast<unsigned char>(word.front())) != 0 ? limit : names.emplace_back()) = word;
        }
    }
};

} // namespace

void Model::process(const Event& event)
{
    require(!m_error || event.kind == Event::Kind::Report, rules::errorIsReported,
        m_error ? "\"" + m_error->text + "\" in " + m_error->what + " is not" : "");
    switch (event.kind) {
    case Event::Kind::New:
        makeTimer(event);
        break;
    case Event::Kind::Made:
        makeTimer(event).made(event);
        break;
    case Event::Kind::Told:
        told(event);
        break;
    case Event::Kind::Begin:
        begin(event);
        break;
    case Event::Kind::End:
        end(event);
        break;
    case Event::Kind::Call:
        call(event);
        break;
    case Event::Kind::Done:
    case Event::Kind::Failed:
        answer(event);
        break;
    case Event::Kind::Raise:
        if (m_stack.empty()) {
            m_error = event;
            m_error->what = "script";
        }
        break;
    case Event::Kind::Exit:
        exit(event);
        break;
    case Event::Kind::Over:
        require(m_stack.empty() && !m_isStopPhase, rules::nothingAfterExit, "the script goes on to its end");
        m_hasEnded = true;
        break;
    case Event::Kind::Ending:
        ending();
        break;
    case Event::Kind::Report:
        report(event);
        break;
    }
}

TimerModel& Model::makeTimer(const Event& event)
{
    const auto [place, isNew] = m_timers.try_emplace(event.timer, event.timer, Settings::of(event.settings));
    require(isNew, rules::wellFormed, "two timers named " + event.timer);
    if (m_isStopPhase) {
        place->second.stopPhaseBegins();
    }
    return place->second;
}

TimerModel& Model::timer(const Event& event)
{
    const auto found = m_timers.find(event.timer);
    require(found != m_timers.end(), rules::wellFormed, "there is no timer " + event.timer);
    return found->second;
}

// ---- Callbacks

void Model::begin(const Event& event)
{
    requirePumping(event);
    requireNotNested(event);
    m_stack.push_back({ event, timer(event).begin(event) });
}

void Model::requirePumping(const Event& event) const
{
    if (m_stack.empty()) {
        require(m_hasEnded || m_isStopPhase, rules::onlyWhilePumping, "the script does neither");
        return;
    }
    const Event& inner = m_stack.back().begun;
    const bool isDelete = inner.what == "delete" && inner.timer == event.timer;
    require(isPump(inner) || isDelete, rules::onlyWhilePumping,
        "the " + event.what + " of timer " + event.timer + " runs within " + inner.what + " of " + inner.timer);
}

void Model::requireNotNested(const Event& event) const
{
    for (auto frame = m_stack.rbegin(); frame != m_stack.rend(); ++frame) {
        if (frame->begun.timer != event.timer) {
            continue;
        }
        if (frame->begun.what == "delete") {
            return;
        }
        require(!frame->run, rules::notNested,
            "the " + event.what + " of timer " + event.timer + " runs within its " + frame->begun.what);
    }
}

void Model::told(const Event& event)
{
    const bool fits = !m_stack.empty() && m_stack.back().run && m_stack.back().begun.timer == event.timer
        && m_stack.back().begun.what == event.what;
    require(fits, rules::wellFormed, "the " + event.what + " of timer " + event.timer + " has not begun");
    timer(event).told(*m_stack.back().run, event);
}

void Model::end(const Event& event)
{
    const Frame frame = pop(event, true);
    timer(event).end(*frame.run, event);
    if (!event.text.empty()) {
        m_error = event;
        m_error->what += " of timer \"" + event.timer + "\"";
    }
}

Model::Frame Model::pop(const Event& event, bool isCallback)
{
    const std::string what = event.what + " of " + event.timer;
    require(!m_stack.empty(), rules::nothingAfterExit, what + " goes on");
    Frame frame = std::move(m_stack.back());
    m_stack.pop_back();
    const bool isCallbackFrame = frame.run != nullptr;
    require(frame.begun.what == event.what && frame.begun.timer == event.timer && isCallbackFrame == isCallback,
        rules::wellFormed, what + " ends within " + frame.begun.what + " of " + frame.begun.timer);
    return frame;
}

// ---- Actions

void Model::call(const Event& event)
{
    Frame frame { event, nullptr };
    if (event.timer != "-") {
        timer(event).read(event);
    }
    if (event.what == "delete" && !timer(event).isDeleted()) {
        timer(event).deleteBegins();
    }
    if (isPump(event)) {
        for (const auto& [name, timer] : m_timers) {
            std::shared_ptr<Run> run;
            if (const std::string callback = timer.waiting(run); !callback.empty()) {
                frame.waiting.emplace_back(callback + " of timer " + name, run);
            }
        }
    }
    m_stack.push_back(std::move(frame));
}

void Model::answer(const Event& event)
{
    const Frame frame = pop(event, false);
    const bool isDone = event.kind == Event::Kind::Done;
    if (event.timer != "-") {
        answerOfTimer(event, frame, timer(event));
    }
    if (event.what.starts_with("wait") && event.timer == "-") {
        answerToWaitForSeveral(event, frame);
    }
    if (event.what == "pause") {
        const double asked = std::stod(frame.begun.text);
        require(isDone && event.time - frame.begun.time + grain >= asked, rules::neverEarly,
            isDone ? "pause returns before its time" : "pause fails: " + event.text);
        requireWhatWaited(frame);
    }
}

void Model::answerOfTimer(const Event& event, const Frame& frame, TimerModel& timer)
{
    const bool isDone = event.kind == Event::Kind::Done;
    const bool isDeleted = frame.begun.reading.running == "deleted";
    if (isDeleted) {
        const bool says = !isDone && event.text.find("has been deleted") != std::string::npos;
        require(says, rules::deletedSaysSo, "timer " + event.timer + ": " + event.what + " says " + event.text);
    } else if (event.what == "start") {
        timer.start(event, frame.begun.time);
    } else if (event.what == "stop") {
        require(isDone || timer.isBeingDeleted(), rules::stopAlwaysSucceeds, event.text);
        timer.stop(event.text);
    } else if (event.what == "delete") {
        require(isDone || timer.isBeingDeleted(), rules::deleteRunsWhatWaits, "delete fails: " + event.text);
        timer.deleteEnds();
    } else if (event.what == "set") {
        timer.assign(event, frame.begun.text, frame.begun.reading);
    } else if (event.what == "wait") {
        answerToWait(event, frame, timer);
    }
    timer.read(event);
}

void Model::answerToWait(const Event& event, const Frame& frame, TimerModel& timer)
{
    if (timer.isBeingDeleted()) {
        return;
    }
    if (event.kind == Event::Kind::Failed) {
        require(timer.isInCallback(), rules::waitInOwnCallback, event.text);
        return;
    }
    require(!timer.isInCallback(), rules::waitInOwnCallback, "timer " + event.timer + ": it succeeds");
    const std::string& limit = frame.begun.text;
    if (event.text.starts_with("true ")) {
        timer.expectQuiet(rules::waitTrue);
        require(event.text == "true " + timer.reason(), rules::reasons,
            "wait says " + event.text + ", and has to say " + timer.reason());
        return;
    }
    require(event.text == "false" && !limit.empty(), rules::waitTrue, "wait says " + event.text);
    require(event.time - frame.begun.time + grain >= std::stod(limit), rules::neverEarly,
        "wait returns false before its limit");
    require(!timer.isQuiet(), rules::waitFalse, "timer " + event.timer + " has ended");
    requireWhatWaited(frame);
}

void Model::answerToWaitForSeveral(const Event& event, const Frame& frame)
{
    const WaitForSeveral asked(frame.begun.text);
    std::vector<TimerModel*> timers;
    bool mayFail = false; // a timer that has been deleted by now, or is waited for in its own callback
    for (const std::string& name : asked.names) {
        timers.push_back(&m_timers.at(name));
        mayFail = mayFail || timers.back()->isDeleted() || timers.back()->isBeingDeleted()
            || timers.back()->isInCallback();
    }
    if (event.kind == Event::Kind::Failed) {
        require(mayFail, rules::waitForSeveral, "it fails: " + event.text);
        return;
    }
    const bool isAny = event.what == "waitAny";
    if (event.text == "false" || event.text == "nil") {
        require(!asked.limit.empty() && event.time - frame.begun.time + grain >= std::stod(asked.limit),
            rules::neverEarly, "it gives up before its limit");
        const auto quiet = std::count_if(timers.begin(), timers.end(), [](const auto* t) { return t->isQuiet(); });
        require(isAny ? quiet == 0 : quiet < static_cast<std::ptrdiff_t>(timers.size()), rules::waitForSeveral,
            "it gives up, and " + std::to_string(quiet) + " have ended");
        requireWhatWaited(frame);
        return;
    }
    for (std::size_t i = 0; i < timers.size(); ++i) {
        const bool isIt = isAny && event.text == asked.names[i];
        if (!isAny || isIt) {
            timers[i]->expectQuiet(rules::waitForSeveral);
        } else {
            require(!timers[i]->isQuiet(), rules::waitForSeveral,
                "timer " + asked.names[i] + " has ended, and it gives " + event.text);
        }
        if (isIt) {
            return;
        }
    }
    require(!isAny, rules::waitForSeveral, "it gives " + event.text);
}

void Model::requireWhatWaited(const Frame& frame) const
{
    for (const auto& [what, run] : frame.waiting) {
        const Duty& duty = what.starts_with("StartFcn") ? run->startFcn
            : what.starts_with("StopFcn")               ? run->stopFcn
                                                        : run->errorFcn;
        require(!duty.isOpen(), rules::whatWaitsRuns, "the " + what + " has not");
    }
}

// ---- The end

void Model::report(const Event& event)
{
    ++m_reports;
    if (!m_error) {
        const bool isOfTimer = event.what.starts_with("timer \"");
        require(isOfTimer, rules::errorIsReported,
            "there was none in " + event.what + " that has not been: " + event.text);
        timer(event).reportOfOverrun(event);
        return;
    }
    const Event error = *m_error;
    m_error.reset();
    // On its way out of a coroutine an error of the script learns where that was resumed.
    const bool isItsText = event.what == "script" ? event.text.ends_with(error.text) : event.text == error.text;
    require(event.what == error.what && isItsText, rules::errorIsReported,
        "\"" + error.text + "\" in " + error.what + " is reported as \"" + event.text + "\" in " + event.what);
    if (event.what == "script") {
        beginStopPhase();
    } else if (!timer(event).isDeleted() && !event.what.starts_with("ErrorFcn")) {
        timer(event).reportOfCallback(event.text);
    }
}

void Model::exit(const Event& event)
{
    m_isGivenUp = m_isStopPhase;
    m_exitCodes.push_back(std::stoi(event.text));
    beginStopPhase();
}

/// Nothing runs any more that keeps the program alive.
void Model::ending()
{
    if (m_isStopPhase) {
        return;
    }
    require(m_hasEnded && m_stack.empty(), rules::everyRunEnds, "the program ends in the midst of its script");
    for (auto& [name, timer] : m_timers) {
        if (timer.keepsAlive()) {
            timer.expectQuiet(rules::everyRunEnds);
        }
    }
    beginStopPhase();
}

void Model::beginStopPhase()
{
    m_isStopPhase = true;
    for (const Frame& frame : m_stack) {
        if (frame.run) {
            timer(frame.begun).leaveCallback(*frame.run);
        }
    }
    m_stack.clear();
    for (auto& [name, timer] : m_timers) {
        timer.stopPhaseBegins();
    }
}

void Model::finish(int status)
{
    require(!m_error, rules::errorIsReported, m_error ? "\"" + m_error->text + "\" is not" : "");
    require(m_stack.empty() && (m_hasEnded || m_isStopPhase), rules::wellFormed, "the program ends in its midst");
    ending();
    for (auto& [name, timer] : m_timers) {
        if (!m_isGivenUp) {
            timer.expectQuiet(rules::everyRunEnds);
        }
    }
    const int failed = m_reports > 0 ? 1 : 0;
    std::vector<int> allowed { failed };
    if (!m_exitCodes.empty()) {
        allowed.clear();
        for (const int code : m_exitCodes) {
            allowed.push_back(code == 0 ? failed : code);
        }
    }
    require(std::find(allowed.begin(), allowed.end(), status) != allowed.end(), rules::exitStatus,
        "it is " + std::to_string(status) + ", but has to be " + std::to_string(allowed.front()));
}

std::optional<BrokenRule> findBrokenRule(const std::string& output, int status)
{
    Model model;
    std::istringstream lines(output);
    int number = 0;
    std::string line;
    try {
        while (std::getline(lines, line)) {
            ++number;
            if (const auto event = parseLine(line, number)) {
                model.process(*event);
            }
        }
    } catch (const BrokenRule& broken) {
        return BrokenRule(broken.rule,
            std::string(broken.what()).substr(broken.rule.size() + 2) + "\n  line " + std::to_string(number) + ": "
                + line);
    } catch (const std::exception& error) {
        return BrokenRule(rules::wellFormed, "line " + std::to_string(number) + ": " + error.what());
    }
    try {
        model.finish(status);
    } catch (const BrokenRule& broken) {
        return broken;
    }
    return std::nullopt;
}

} // namespace random_programs
