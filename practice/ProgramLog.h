#pragma once

#include <string>
#include <string_view>

namespace ferrolt::practice {

class EndRequest;

/// Verbosity, by the numbers that the properties files use.
enum class LogLevel { Off = 0, Error = 1, Warning = 2, Info = 3, Debug = 4 };

/// Writes a program's log to standard output, unbuffered: each call is one write, whether it carries a line
/// or a group of them. A reader that has gone away or that never reads does not keep the program from ending.
class ProgramLog {
  public:
    /// Every line begins with `prefix`. `endRequest` outlives the log.
    ProgramLog(std::string_view prefix, const EndRequest &endRequest)
        : prefix(prefix), endRequest(endRequest) {}

    void setLevel(LogLevel least) { level = least; }

    /// `lines` are UTF-8, separated by line feeds, the last one without. What came from elsewhere may hold
    /// control characters; they are shown as "?", for a terminal would obey them.
    void error(std::string_view lines) const { write(LogLevel::Error, lines); }
    void warning(std::string_view lines) const { write(LogLevel::Warning, lines); }
    void info(std::string_view lines) const { write(LogLevel::Info, lines); }
    void debug(std::string_view lines) const { write(LogLevel::Debug, lines); }

  private:
    void write(LogLevel urgency, std::string_view lines) const;

    std::string prefix;
    const EndRequest &endRequest;
    LogLevel level = LogLevel::Info;
};

}  // namespace ferrolt::practice
