// The signatures that hosts are compiled against.
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <type_traits>

namespace tovrintimer {

namespace {

template <typename Signature, auto operation> constexpr bool has = std::is_same_v<Signature, decltype(operation)>;

using foundation::msg_svc::exchange::IDType;
using foundation::tovrindata::Array;
using pelk::factory::full::SharingType;
using pelk::factory::full::StdShareable;
using pelk::factory::full::Wrappable;

static_assert(has<SharingType (TimerInfo::*)() const, &TimerInfo::getSharingType>);
static_assert(has<const char* (TimerInfo::*)() const, &TimerInfo::getFullyQualifiedPelkTypeName>);
static_assert(has<Array (TimerInfo::*)(), &TimerInfo::getTOVRINSideOfTimerObj>);
static_assert(
    has<std::shared_ptr<vorn::VORN> (TimerInfo::*)(), &TimerInfo::getVORNInstanceWhereTimerWasFirstCreated>);
static_assert(
    has<const std::shared_ptr<InterruptStateData>& (TimerInfo::*)() const, &TimerInfo::getInterruptData>);
static_assert(has<IDType (TimerInfo::*)() const, &TimerInfo::getId>);
static_assert(has<double (TimerInfo::*)() const, &TimerInfo::getPeriod>);
static_assert(has<void (TimerInfo::*)(double), &TimerInfo::setPeriod>);
static_assert(has<double (TimerInfo::*)() const, &TimerInfo::getStartDelay>);
static_assert(has<void (TimerInfo::*)(double), &TimerInfo::setStartDelay>);
static_assert(has<bool (TimerInfo::*)() const, &TimerInfo::getIsRunning>);
static_assert(has<size_t (TimerInfo::*)() const, &TimerInfo::getBusyMode>);
static_assert(has<void (TimerInfo::*)(size_t), &TimerInfo::setBusyMode>);
static_assert(has<size_t (TimerInfo::*)() const, &TimerInfo::getExecutionMode>);
static_assert(has<void (TimerInfo::*)(size_t), &TimerInfo::setExecutionMode>);
static_assert(has<size_t (TimerInfo::*)() const, &TimerInfo::getNumOfTasksToExecute>);
static_assert(has<void (TimerInfo::*)(size_t), &TimerInfo::setNumOfTasksToExecute>);
static_assert(has<bool (TimerInfo::*)(), &TimerInfo::getStartFcnIsEmpty>);
static_assert(has<void (TimerInfo::*)(bool), &TimerInfo::setStartFcnIsEmpty>);
static_assert(has<bool (TimerInfo::*)(), &TimerInfo::getStopFcnIsEmpty>);
static_assert(has<void (TimerInfo::*)(bool), &TimerInfo::setStopFcnIsEmpty>);
static_assert(has<bool (TimerInfo::*)(), &TimerInfo::getErrorFcnIsEmpty>);
static_assert(has<void (TimerInfo::*)(bool), &TimerInfo::setErrorFcnIsEmpty>);
static_assert(has<void (TimerInfo::*)(), &TimerInfo::reset>);
static_assert(has<void (TimerInfo::*)(), &TimerInfo::updateTimerFunRunStatus>);
static_assert(has<void (TimerInfo::*)(bool), &TimerInfo::setActivationStatus>);
static_assert(has<double (TimerInfo::*)() const, &TimerInfo::getTasksExecuted>);
static_assert(has<double (TimerInfo::*)() const, &TimerInfo::getInstantPeriod>);
static_assert(has<double (TimerInfo::*)() const, &TimerInfo::getAveragePeriod>);
static_assert(std::is_constructible_v<TimerInfo, Array, std::shared_ptr<vorn::VORN>,
    const std::shared_ptr<InterruptStateData>&>);

static_assert(std::is_base_of_v<StdShareable, TimerInfo>);
static_assert(std::is_convertible_v<TimerInfo*, Wrappable*>);
static_assert(std::is_convertible_v<TimerInfo*, std::enable_shared_from_this<StdShareable>*>);
static_assert(std::has_virtual_destructor_v<TimerInfo>);
static_assert(std::is_nothrow_destructible_v<TimerInfo>);

static_assert(std::is_same_v<std::underlying_type_t<ExecutionMode>, std::int32_t>);
static_assert(static_cast<int>(ExecutionMode::SingleShot) == 0);
static_assert(static_cast<int>(ExecutionMode::FixedSpacing) == 1);
static_assert(static_cast<int>(ExecutionMode::FixedDelay) == 2);
static_assert(static_cast<int>(ExecutionMode::FixedRate) == 3);
static_assert(std::is_same_v<std::underlying_type_t<BusyMode>, std::int32_t>);
static_assert(static_cast<int>(BusyMode::Drop) == 0);
static_assert(static_cast<int>(BusyMode::Queue) == 1);
static_assert(static_cast<int>(BusyMode::Error) == 2);

using Timer = std::weak_ptr<TimerInfo>;
static_assert(has<TimerScheduler* (*)(), &TimerScheduler::getPerTOVRINProcessInstance>);
static_assert(has<void (TimerScheduler::*)(Timer), &TimerScheduler::createAndStartWork>);
static_assert(has<void (TimerScheduler::*)(Timer, bool), &TimerScheduler::forceScheduleOfErrorFcn>);
static_assert(has<void (TimerScheduler::*)(Timer), &TimerScheduler::forceStopWorkAndScheduleStopFcn>);
static_assert(has<void (TimerScheduler::*)(), &TimerScheduler::cleanup>);
static_assert(std::is_default_constructible_v<TimerScheduler>);
static_assert(!std::is_copy_constructible_v<TimerScheduler>);
static_assert(std::is_nothrow_destructible_v<TimerScheduler>);

} // namespace

} // namespace tovrintimer
