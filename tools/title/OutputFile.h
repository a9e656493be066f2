// Where frames go: a temporary file beside the target that becomes the target
// only when everything was written, or stdout.
#ifndef FLOWER_TITLE_OUTPUTFILE_H
#define FLOWER_TITLE_OUTPUTFILE_H

#include <cstdio>
#include <string>

namespace title {

class OutputFile {
  public:
    // "-" is stdout. Otherwise creates the temporary file now, so an
    // unwritable directory fails before any rendering (throws ToolError).
    explicit OutputFile(const std::string& path);
    // Removes the temporary file unless Commit succeeded.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* Stream() const { return stream; }
    // Flushes, closes and renames into place. Throws ToolError on failure.
    void Commit();

    // The temporary path being written, for a signal handler's cleanup.
    const char* TemporaryPath() const { return temporary.c_str(); }

  private:
    std::string target;
    std::string temporary;
    std::FILE* stream = nullptr;
    bool toStdout = false;
    bool committed = false;
};

} // namespace title

#endif
