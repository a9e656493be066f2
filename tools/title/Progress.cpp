#include "Progress.h"

#include <cstdio>
#include <unistd.h>

namespace title {

Progress::Progress(int totalFrames, bool on)
    : total(totalFrames), enabled(on), terminal(on && isatty(STDERR_FILENO) == 1),
      start(Clock::now()), lastDraw(start)
{
}

double Progress::Elapsed() const
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void Progress::Update(int framesDone)
{
    if (!terminal || total < 2)
        return;
    const auto now = Clock::now();
    if (now - start < std::chrono::seconds(1) || now - lastDraw < std::chrono::milliseconds(100))
        return;
    lastDraw = now;
    constexpr int kBar = 40;
    const int filled = int(long(framesDone) * kBar / total);
    char bar[kBar + 1];
    for (int i = 0; i < kBar; ++i)
        bar[i] = i < filled ? '#' : '-';
    bar[kBar] = '\0';
    const double elapsed = Elapsed();
    const double rate = framesDone / elapsed;
    const double left = rate > 0 ? (total - framesDone) / rate : 0;
    std::fprintf(stderr, "\r[%s] %d/%d frames, %.1f fps, %.0f s left ", bar, framesDone, total,
                 rate, left);
    std::fflush(stderr);
    drawn = true;
}

void Progress::Abandon()
{
    if (drawn)
        std::fprintf(stderr, "\r\033[K");
    drawn = false;
}

void Progress::Finish(int framesDone, double videoSeconds, const std::string& suffix)
{
    Abandon();
    if (!enabled)
        return;
    const double elapsed = Elapsed();
    if (framesDone == 1) {
        std::fprintf(stderr, "flower-title: 1 frame in %.2f s%s\n", elapsed, suffix.c_str());
        return;
    }
    std::fprintf(stderr, "flower-title: %d frames, %.2f s of video in %.2f s (%.1f fps)%s\n",
                 framesDone, videoSeconds, elapsed, elapsed > 0 ? framesDone / elapsed : 0.0,
                 suffix.c_str());
}

} // namespace title
