#include "tests/random_programs/model/Settings.hpp"

namespace random_programs {

Settings Settings::of(const std::vector<std::string>& fields)
{
    Settings settings;
    settings.mode = fields.at(0);
    settings.busyMode = fields.at(1);
    settings.period = std::stod(fields.at(2));
    settings.startDelay = std::stod(fields.at(3));
    settings.tasks = std::stod(fields.at(4));
    const auto has = [&fields](const char* callback) { return fields.at(5).find(callback) != std::string::npos; };
    settings.hasStartFcn = has("StartFcn");
    settings.hasStopFcn = has("StopFcn");
    settings.hasErrorFcn = has("ErrorFcn");
    return settings;
}

bool Settings::assign(const std::string& property, const std::string& value)
{
    const auto assignNumber = [&value](double& number, double least) {
        const double assigned = std::stod(value);
        if (assigned < least) {
            return false;
        }
        number = assigned;
        return true;
    };
    if (property == "Period") {
        return assignNumber(period, 0.001);
    }
    if (property == "StartDelay") {
        return assignNumber(startDelay, 0.0);
    }
    if (property == "TasksToExecute") {
        return assignNumber(tasks, 1.0);
    }
    if (property == "KeepsAlive") {
        keepsAlive = value == "true";
    } else if (property == "BusyMode") {
        busyMode = value;
    } else if (property == "StartFcn") {
        hasStartFcn = value == "function";
    } else if (property == "StopFcn") {
        hasStopFcn = value == "function";
    } else if (property == "ErrorFcn") {
        hasErrorFcn = value == "function";
    } else {
        return property == "TimerFcn" && value == "function";
    }
    return true;
}

} // namespace random_programs
