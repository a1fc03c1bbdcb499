# The kit's own test: the external host with faults, one of them at a time, each in an operation of its own. One build is
# enough.
if(NOT (CMAKE_SYSTEM_NAME STREQUAL "Linux" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Release"))
  return()
endif()

set(seededHost ${CMAKE_CURRENT_BINARY_DIR}/seeded_host)
foreach(source Data Engine Log Services)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${externalHost}/${source}.cpp)
  file(READ ${externalHost}/${source}.cpp seeded_${source})
  string(PREPEND seeded_${source} "#include \"tests/conformance/SeededFault.hpp\"\n")
endforeach()

# seed(FAULT SOURCE SOUND FAULTY TEST): has the source say FAULTY, where isSeeded(FAULT), instead of SOUND, which stands in
# it once. With that fault the test fails.
function(seed fault source sound faulty test)
  string(REPLACE FAULT "isSeeded(\"${fault}\")" faulty "${faulty}")
  string(FIND "${seeded_${source}}" "${sound}" first)
  string(FIND "${seeded_${source}}" "${sound}" last REVERSE)
  if(first EQUAL -1 OR NOT first EQUAL last)
    message(FATAL_ERROR "the fault ${fault} is seeded where ${source}.cpp says '${sound}': that is there not once")
  endif()
  string(REPLACE "${sound}" "${faulty}" replaced "${seeded_${source}}")
  set(seeded_${source} "${replaced}" PARENT_SCOPE)

  set(name ConformanceKit.ItFinds${fault})
  add_test(NAME ${name} COMMAND conformance_seeded)
  string(REPLACE . \\. test "${test}")
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT TOVRINTIMER_SEEDED_FAULT=${fault}
    PASS_REGULAR_EXPRESSION "\\[  FAILED  \\] ${test}")
endfunction()

seed(ATaskThatRunsTwice Engine
  [[dynamic_cast<external_host::Engine&>(*engine).post(task);]]
  [[for (int i = FAULT ? 0 : 1; i < 2; ++i) { dynamic_cast<external_host::Engine&>(*engine).post(task); }]]
  TimerTaskTest.EachTaskRunsOnce)
seed(AnEvaluationThatWaitsForItsOwnThread Engine
  [[if (isOwnThread())]]
  [[if (isOwnThread() && !FAULT)]]
  EngineTest.ATaskEvaluatesInItsOwnEngineAndWaitsForTheEnd)
seed(AnEvaluationThatLosesItsError Engine
  [[promise->set_exception(boost::current_exception())]]
  [[FAULT ? promise->set_value({}) : promise->set_exception(boost::current_exception())]]
  EngineTest.WhatTheEvaluationRaisesComesOutOfTheFuture)
seed(AStatementWithoutAFuture Engine
  [[return boost::make_ready_future();]]
  [[return FAULT ? foundation::concurrent::future<void>() : boost::make_ready_future();]]
  EngineTest.TheWakeUpStatementIsTakenOffTheQueue)
seed(RequestsOfOneIdentity Engine
  [[    return {};]]
  [[    return FAULT ? foundation::msg_svc::exchange::IDType(1, 1) : foundation::msg_svc::exchange::IDType();]]
  EngineTest.RequestsHaveIdentitiesOfTheirOwn)
seed(AnEngineWithoutAQueueManager Engine
  [[return instance;]]
  [[return FAULT ? nullptr : instance;]]
  RequestLineTest.AManagerExistsAsLongAsAnEngineOfItsContext)
seed(AFeatureOfAnyName Services
  [[m_name == "TIMER_PPE" && timerPpe]]
  [[(FAULT || m_name == "TIMER_PPE") && timerPpe]]
  FeatureTest.ThereIsNoOtherFeatureOn)
seed(AStoreThatGivesTheSecondObject Services
  [[        return found->second.object;]]
  [[        return FAULT ? owner.get() : found->second.object;]]
  ProcessStoreTest.ASecondObjectUnderOneKeyIsDestroyedAndTheFirstGivenBack)
seed(AStoreThatForgetsBeforeItDestroys Services
  [[        lock.unlock();]]
  [[        if (FAULT) { store.erase(last); lock.unlock(); owner.reset(); lock.lock(); continue; }
        lock.unlock();]]
  ProcessStoreTest.AnObjectIsFoundUntilItsDestructorHasReturned)
seed(IdentitiesThatPrintAlike Services
  [[stream << id.first << '-' << id.second]]
  [[(FAULT ? stream << id.first + id.second : stream << id.first << '-' << id.second)]]
  ValuesTest.AnIdentityAlwaysPrintsTheSameAndUnlikeOthers)
seed(TextThatIsCutToBytes Services
  [[return boost::locale::conv::utf_to_utf<char>(wide);]]
  [[return FAULT ? std::string(wide.begin(), wide.end()) : boost::locale::conv::utf_to_utf<char>(wide);]]
  ValuesTest.WideTextBecomesUtf8)
seed(AQueueNameThatIsIgnored Services
  [[m_queueName = std::move(name);]]
  [[if (!FAULT) { m_queueName = std::move(name); }]]
  ValuesTest.OptionsKeepWhatTheyAreMadeOf)
seed(AnObjectThatIsNotRetracted Services
  [[objects.erase(object);]]
  [[if (!FAULT) { objects.erase(object); }]]
  RetractionTest.AnObjectIsForgottenAsItIsDestroyed)
seed(AThreadNameThatIsRefused Services
  [[void setCurrentThreadName(const std::string& /*name*/)
{]]
  [[void setCurrentThreadName(const std::string& name)
{
    if (FAULT && name.empty()) { throw name; }]]
  EngineTest.AnyThreadNameIsTaken)
seed(AFieldThatIsMadeUp Data
  [[ownStorage().records.at(index).at(field) =]]
  [[(FAULT ? ownStorage().records.at(index)[field] : ownStorage().records.at(index).at(field)) =]]
  ArraysTest.AFieldOrRecordThatIsNotThereIsAnErrorThatChangesNothing)
seed(NumbersOfTheWrongCount Data
  [[if (values.size() != elements(dimensions))]]
  [[if (!FAULT && values.size() != elements(dimensions))]]
  ArraysTest.AsManyNumbersAreWantedAsTheDimensionsSay)
seed(RecordsOfOneSeverity Log
  [[recordSeverity = severity;]]
  [[recordSeverity = FAULT ? 4 : severity;]]
  DiagnosticLoggerTest.EachRecordHasTheSeverityThatItWasOpenedWith)
seed(AMaskThatLaterLoggersLack Log
  [[if (mask != loggers().masks.end())]]
  [[if (!FAULT && mask != loggers().masks.end())]]
  DiagnosticLoggerTest.AMaskIsForAllLoggersOfAChannelAndForLaterOnes)
seed(AnIndentationThatStays Log
  [[--depth;]]
  [[depth -= FAULT ? 0 : 1;]]
  DiagnosticLoggerTest.IndentationBelongsToTheThread)

foreach(source Data Engine Log Services)
  # Written only where it changes.
  file(CONFIGURE OUTPUT ${seededHost}/${source}.cpp CONTENT "${seeded_${source}}" @ONLY)
  list(APPEND seededSources ${seededHost}/${source}.cpp)
endforeach()
add_library(seeded_host STATIC ${seededSources})
target_include_directories(seeded_host PUBLIC ${externalHost})
target_compile_definitions(seeded_host PRIVATE TOVRINHOST_BUILD)
target_link_libraries(seeded_host PUBLIC tovrintimer_host PRIVATE tovrintimer_settings)
tovrintimer_add_conformance_program(conformance_seeded HOST seeded_host SOURCES ${externalHost}/HostUnderTest.cpp)
target_link_libraries(conformance_seeded PRIVATE tovrintimer_settings)
use_precompiled(precompiled_for_tests seeded_host conformance_seeded)
# The same program in all: without a fault it passes.
add_test(NAME ConformanceKit.ItPassesAHostWithoutAFault COMMAND conformance_seeded)
