#include "tests/random_programs/model/Event.hpp"

#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace random_programs {

namespace {

constexpr std::string_view reportBegins = "tovrin: error in ";

std::vector<std::string> split(const std::string& line)
{
    std::vector<std::string> fields { "" };
    for (const char c : line) {
        if (c == '|') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

/// "tovrin: error in TimerFcn of timer "a": text"
Event parseReport(const std::string& line)
{
    Event event;
    event.kind = Event::Kind::Report;
    const std::string rest = line.substr(reportBegins.size());
    const std::size_t colon = rest.find(": ");
    event.what = rest.substr(0, colon);
    event.text = colon == std::string::npos ? "" : rest.substr(colon + 2);
    const std::size_t quote = event.what.find('"');
    if (quote != std::string::npos) {
        event.timer = event.what.substr(quote + 1, event.what.rfind('"') - quote - 1);
    }
    return event;
}

struct Form {
    const char* name;
    Event::Kind kind;
    std::size_t fields;
};

constexpr Form forms[] = {
    { "new", Event::Kind::New, 9 },
    { "made", Event::Kind::Made, 13 },
    { "begin", Event::Kind::Begin, 7 },
    { "told", Event::Kind::Told, 5 },
    { "end", Event::Kind::End, 8 },
    { "call", Event::Kind::Call, 8 },
    { "done", Event::Kind::Done, 8 },
    { "failed", Event::Kind::Failed, 8 },
    { "raise", Event::Kind::Raise, 3 },
    { "exit", Event::Kind::Exit, 3 },
    { "over", Event::Kind::Over, 2 },
    { "ending", Event::Kind::Ending, 2 },
};

Event makeEvent(Event::Kind kind, const std::vector<std::string>& fields)
{
    Event event;
    event.kind = kind;
    event.time = std::stod(fields.at(0).substr(1));
    switch (kind) {
    case Event::Kind::New:
        event.timer = fields[2];
        event.settings.assign(fields.begin() + 3, fields.end());
        break;
    case Event::Kind::Made:
        event.timer = fields[2];
        event.reading = { fields[10], fields[11], fields[12] };
        event.settings.assign(fields.begin() + 3, fields.begin() + 10);
        break;
    case Event::Kind::Told:
        event.timer = fields[2];
        event.what = fields[3];
        event.text = fields[4];
        break;
    case Event::Kind::Begin:
        event.timer = fields[2];
        event.what = fields[3];
        event.reading = { fields[4], fields[5], fields[6] };
        break;
    case Event::Kind::End:
        event.timer = fields[2];
        event.what = fields[3];
        event.text = fields[4];
        event.reading = { fields[5], fields[6], fields[7] };
        break;
    case Event::Kind::Call:
    case Event::Kind::Done:
    case Event::Kind::Failed:
        event.what = fields[2];
        event.timer = fields[3];
        event.text = fields[4];
        event.reading = { fields[5], fields[6], fields[7] };
        break;
    case Event::Kind::Raise:
    case Event::Kind::Exit:
        event.text = fields[2];
        break;
    case Event::Kind::Over:
    case Event::Kind::Ending:
    case Event::Kind::Report:
        break;
    }
    return event;
}

} // namespace

std::optional<Event> parseLine(const std::string& line, int number)
{
    if (line.starts_with("stack traceback:") || line.starts_with('\t')) {
        return std::nullopt;
    }
    if (line.starts_with(reportBegins)) {
        Event event = parseReport(line);
        event.line = number;
        return event;
    }
    const auto fields = split(line);
    for (const Form& form : forms) {
        if (line.starts_with('@') && fields.size() == form.fields && fields[1] == form.name) {
            Event event = makeEvent(form.kind, fields);
            event.line = number;
            return event;
        }
    }
    throw std::invalid_argument("nothing that a program prints: " + line);
}

} // namespace random_programs
