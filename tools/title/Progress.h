// A progress bar on stderr for renders that take a while, and the closing line.
#ifndef FLOWER_TITLE_PROGRESS_H
#define FLOWER_TITLE_PROGRESS_H

#include <chrono>
#include <string>

namespace title {

class Progress {
  public:
    // The bar appears only on a terminal, and only once a second has passed.
    Progress(int totalFrames, bool enabled);

    void Update(int framesDone);
    // Clears the bar and prints "<frames> frames, <video> s of video in <t> s
    // (<fps> fps)<suffix>" unless disabled.
    void Finish(int framesDone, double videoSeconds, const std::string& suffix);
    // Clears the bar without a closing line (before an error message).
    void Abandon();

    double Elapsed() const;

  private:
    using Clock = std::chrono::steady_clock;
    int total;
    bool enabled;
    bool terminal;
    bool drawn = false;
    Clock::time_point start;
    Clock::time_point lastDraw;
};

} // namespace title

#endif
