#include "bridge/Logging.h"

#include <log4cxx/basicconfigurator.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>
#include <log4cxx/propertyconfigurator.h>
#include <log4cxx/xml/domconfigurator.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <iostream>

namespace
{

constexpr const char* fallbackPattern = "%d{yyyy-MM-dd HH:mm:ss,SSS} %r %-5p (%F:%L) - %m%n";

void configureFallback()
{
    const auto root = log4cxx::Logger::getRootLogger();
    if (!root->getAllAppenders().empty())
    {
        return;
    }
    log4cxx::BasicConfigurator::configure();
    root->setLevel(log4cxx::Level::getDebug());
    root->getAllAppenders().front()->setLayout(std::make_shared<log4cxx::PatternLayout>(fallbackPattern));
}

bool endsInXml(const std::string& path)
{
    const auto dot = path.rfind('.');
    return dot != std::string::npos && path.substr(dot) == ".xml";
}

template <typename Configurator>
void configureFrom(const std::string& path, long watchDelay)
{
    if (watchDelay != 0)
    {
        Configurator::configureAndWatch(path, watchDelay);
    }
    else
    {
        Configurator::configure(path);
    }
}

} // namespace

void configureLogging(const std::string& path, long watchDelay)
{
    struct stat status
    {};
    if (stat(path.c_str(), &status) != 0)
    {
        if (!path.empty())
        {
            const int cause = errno;
            std::cerr << "Problem opening log4cxx config file " << path
                      << " (falling back to BasicConfigurator) : " << std::flush;
            errno = cause;
            std::perror(nullptr);
        }
        configureFallback();
        return;
    }
    if ((status.st_mode & S_IRUSR) == 0)
    {
        return; // deliberate: neither the file nor the fallback
    }
    if (endsInXml(path))
    {
        configureFrom<log4cxx::xml::DOMConfigurator>(path, watchDelay);
    }
    else
    {
        configureFrom<log4cxx::PropertyConfigurator>(path, watchDelay);
    }
}
