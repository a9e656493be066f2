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
namespace {

// Writing into a pipe in bigger steps saves the reader wake-ups; failure
// only costs speed.
void WidenPipe(int fd)
{
#ifdef F_SETPIPE_SZ
    fcntl(fd, F_SETPIPE_SZ, 1 << 20);
#else
    (void)fd;
#endif
}

bool IsStream(const std::string& path)
{
    struct stat st;
    if (path.rfind("/dev/", 0) == 0 || path.rfind("/proc/", 0) == 0)
        return true;
    return stat(path.c_str(), &st) == 0 &&
           (S_ISFIFO(st.st_mode) || S_ISCHR(st.st_mode) || S_ISSOCK(st.st_mode));
}

} // namespace

OutputFile::OutputFile(const std::string& path) : target(path == "-" ? "standard output" : path)
{
    if (path == "-") {
        if (isatty(STDOUT_FILENO) == 1)
            throw UsageError("refusing to write frames to a terminal; pipe them or use -o FILE");
        fd = STDOUT_FILENO;
        WidenPipe(fd);
        return;
    }
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        throw ToolError("output '" + path + "' is a directory");
    if (IsStream(path)) {
        fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0)
            throw ToolError("cannot write '" + path + "': " + std::strerror(errno));
        if (isatty(fd) == 1) {
            close(fd);
            throw UsageError("refusing to write frames to a terminal; pipe them or use -o FILE");
        }
        ownsFd = true;
        WidenPipe(fd);
        return;
    }
    // Same directory as the target, so the final rename cannot cross devices.
    std::string pattern = path + ".tmp-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    fd = mkstemp(name.data());
    if (fd < 0)
        throw ToolError("cannot write '" + path + "': " + std::strerror(errno));
    ownsFd = true;
    temporary = name.data();
    // mkstemp makes 0600; an output file should get the usual umask mode.
    const mode_t mask = umask(0);
    umask(mask);
    if (fchmod(fd, 0666 & ~mask) != 0) {
        // The file stays private; nothing else depends on its mode.
    }
}

OutputFile::~OutputFile()
{
    if (ownsFd && fd >= 0)
        close(fd);
    if (!committed && !temporary.empty())
        unlink(temporary.c_str());
}

void OutputFile::Fail(int error) const
{
    if (error == EPIPE)
        throw ToolError("the reader of " +
                        (target == "standard output" ? target : "'" + target + "'") +
                        " went away; stopped");
    throw ToolError("cannot write " + (target == "standard output" ? target : "'" + target + "'") +
                    ": " + std::strerror(error));
}

void OutputFile::Write(const void* bytes, std::size_t count)
{
    const char* p = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t n = write(fd, p, count);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            Fail(n < 0 ? errno : EIO);
        p += n;
        count -= std::size_t(n);
    }
}

void OutputFile::Commit()
{
    if (ownsFd) {
        const int result = close(fd);
        fd = -1;
        if (result != 0)
            Fail(errno);
    }
    if (!temporary.empty() && std::rename(temporary.c_str(), target.c_str()) != 0)
        Fail(errno);
    committed = true;
}

} // namespace title
