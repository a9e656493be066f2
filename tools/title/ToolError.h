// The one failure the tool reports: a message for the user and exit status 2.
#ifndef FLOWER_TITLE_TOOLERROR_H
#define FLOWER_TITLE_TOOLERROR_H

#include <stdexcept>
#include <string>

namespace title {

class ToolError : public std::runtime_error {
  public:
    explicit ToolError(const std::string& message, bool showUsageHint = false)
        : std::runtime_error(message), usageHint(showUsageHint)
    {
    }
    bool usageHint;
};

// Bad command lines point at --help; failures of files and libraries do not.
inline ToolError UsageError(const std::string& message)
{
    return ToolError(message, true);
}

} // namespace title

#endif
