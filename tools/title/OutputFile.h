// Where frames go. A regular file is written as a temporary file beside the
// target that becomes the target only when everything was written; standard
// output, pipes and devices are written in place as the frames come.
#ifndef FLOWER_TITLE_OUTPUTFILE_H
#define FLOWER_TITLE_OUTPUTFILE_H

#include <cstddef>
#include <string>

namespace title {

class OutputFile {
  public:
    // "-" is standard output. Opens (or creates the temporary file) now, so
    // an unwritable target fails before any rendering (throws ToolError).
    explicit OutputFile(const std::string& path);
    // Removes the temporary file unless Commit succeeded.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Throws ToolError when the bytes cannot be written; a reader that went
    // away gets its own message.
    void Write(const void* bytes, std::size_t count);
    // Closes and, for a regular file, renames into place. Throws ToolError.
    void Commit();
    // A stream (not a file renamed at the end): what it got stays.
    bool InPlace() const { return temporary.empty(); }
    const std::string& Name() const { return target; }

  private:
    [[noreturn]] void Fail(int error) const;

    std::string target;
    std::string temporary;
    int fd = -1;
    bool ownsFd = false;
    bool committed = false;
};

} // namespace title

#endif
