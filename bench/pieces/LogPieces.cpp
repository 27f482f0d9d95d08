// One log line: switched off, and written to a file.

#include "runtime/util/Log.h"

#include <benchmark/benchmark.h>
#include <log4cxx/fileappender.h>
#include <log4cxx/level.h>
#include <log4cxx/patternlayout.h>

#include <memory>

namespace
{

log4cxx::LoggerPtr fileLogger()
{
    const auto layout = std::make_shared<log4cxx::PatternLayout>("%d{yyyy-MM-dd HH:mm:ss,SSS} %r %-5p (%F:%L) - %m%n");
    const auto logger = log4cxx::Logger::getLogger("bench");
    logger->removeAllAppenders();
    logger->addAppender(std::make_shared<log4cxx::FileAppender>(layout, "/dev/null"));
    logger->setAdditivity(false);
    return logger;
}

void logLine(benchmark::State& state)
{
    const auto logger = fileLogger();
    logger->setLevel(state.range(0) != 0 ? log4cxx::Level::getInfo() : log4cxx::Level::getWarn());
    int number = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        LOG_INFO_F(logger, "take(controllerInput %d, controllerOutput %d lprid %d) esfInvalidSrc", number, number + 1,
                   number + 2);
        ++number;
    }
}
BENCHMARK(logLine)->ArgName("enabled")->Arg(0)->Arg(1);

} // namespace
