#include "OutputFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "ToolError.h"

namespace title {

OutputFile::OutputFile(const std::string& path) : target(path)
{
    if (path == "-") {
        if (isatty(STDOUT_FILENO) == 1)
            throw UsageError(
                "refusing to write raw frames to a terminal; pipe them or use -o FILE");
        stream = stdout;
        toStdout = true;
        return;
    }
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        throw ToolError("output '" + path + "' is a directory");
    // Same directory as the target, so the final rename cannot cross devices.
    std::string pattern = path + ".tmp-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0)
        throw ToolError("cannot write '" + path + "': " + std::strerror(errno));
    temporary = name.data();
    // mkstemp makes 0600; an output file should get the usual umask mode.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, 0666 & ~mask);
    stream = fdopen(fd, "wb");
    if (!stream) {
        close(fd);
        unlink(temporary.c_str());
        throw ToolError("cannot write '" + path + "'");
    }
}

OutputFile::~OutputFile()
{
    if (toStdout || committed)
        return;
    if (stream)
        std::fclose(stream);
    unlink(temporary.c_str());
}

void OutputFile::Commit()
{
    if (toStdout) {
        if (std::fflush(stdout) != 0)
            throw ToolError("cannot write to standard output: " +
                            std::string(std::strerror(errno)));
        committed = true;
        return;
    }
    const bool flushed = std::fflush(stream) == 0 && !std::ferror(stream);
    const bool closed = std::fclose(stream) == 0;
    stream = nullptr;
    if (!flushed || !closed)
        throw ToolError("cannot write '" + target + "': " + std::strerror(errno));
    if (std::rename(temporary.c_str(), target.c_str()) != 0)
        throw ToolError("cannot write '" + target + "': " + std::strerror(errno));
    committed = true;
}

} // namespace title
