#pragma once

#include "embedded_host/status/ProgramStatus.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// What a program that serves its status and those who ask for it say to each other: one line is asked, one JSON
// document answered, and a line break ends both. Then the server hangs up.
//
//     tovrin 1 timers      {"tovrin":1,"process":123,"script":"a.lua","now":1.5,"timers":[...],"moreTimers":0}
//     tovrin 1 timer 3     {"tovrin":1,"explanation":"poll run 17 ..."}
//     anything else        {"tovrin":1,"error":"..."}
//
// Times are seconds by the steady clock, moments since the program began. The number is that of the protocol: it
// changes with what would be misunderstood.

namespace tovrinhost::protocol {

constexpr int version = 1;
constexpr std::size_t longestRequest = 200; ///< bytes, with the line break
constexpr std::size_t longestAnswer = 8'000'000;

std::string timersRequest();
std::string timerRequest(std::uint64_t number);

/// The answer to a line, which comes without its end. \param process, script the program's own
std::string answer(
    std::string_view request, const Diagnosis& diagnosis, std::int64_t process, const std::string& script);

/// What the answers say.
/// \throws std::runtime_error if one is an error, or not of this protocol
ProgramStatus readStatus(const std::string& answer);
std::string readExplanation(const std::string& answer);

/// A status as JSON, in ASCII; the same document as the answer.
std::string toJson(const ProgramStatus& status);

} // namespace tovrinhost::protocol
