#!/bin/sh
# flower-title beside ffmpeg's drawtext on one job: a 10-second 1920x1080p50
# YUV4MPEG2 clip in, one crawl at 97.5 px/s over it, YUV4MPEG2 out to a pipe.
# Both run as whole processes, alternately, RUNS times each; prints every
# wall time, then the crawl-step spread of each over black.
#
# usage: bench/title/versus_drawtext.sh [FLOWER_TITLE] [SCRATCH_DIR] [RUNS]
set -eu
tool=${1:-build/release/tools/flower-title}
dir=${2:-/dev/shm/flower-bench}
runs=${3:-5}
here=$(dirname "$0")
font=/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf
text='Breaking news: sub-pixel crawl'
mkdir -p "$dir"
[ -f "$dir/testsrc2.y4m" ] || ffmpeg -v error -f lavfi -i testsrc2=size=1920x1080:rate=50 -t 10 \
  -pix_fmt yuv420p -f yuv4mpegpipe "$dir/testsrc2.y4m"
[ -f "$dir/black.y4m" ] || ffmpeg -v error -f lavfi -i color=black:size=1920x1080:rate=50 -t 10 \
  -pix_fmt yuv420p -f yuv4mpegpipe "$dir/black.y4m"

flower() { # input, extra options
  "$tool" crawl --input "$1" --text "$text" --speed 97.5 --time 8 --quiet $2 -o - --format y4m
}
drawtext() { # input, extra drawtext options
  ffmpeg -v error -i "$1" -vf "drawtext=fontfile=$font:text='Breaking news\: sub-pixel crawl':fontsize=72:fontcolor=white:x=w-(t+8)*97.5:y=h-h/12-th-12$2" \
    -f yuv4mpegpipe -
}
timed() { # label, command...
  label=$1
  shift
  start=$(date +%s%N)
  "$@" | cat > /dev/null
  end=$(date +%s%N)
  echo "$label $(( (end - start) / 1000000 )) ms"
}

for i in $(seq "$runs"); do
  timed "flower-title, text only:" flower "$dir/testsrc2.y4m" "--band #00000000"
  timed "drawtext, text only:     " drawtext "$dir/testsrc2.y4m" ""
  timed "flower-title, band:      " flower "$dir/testsrc2.y4m" ""
  timed "drawtext, box:           " drawtext "$dir/testsrc2.y4m" ":box=1:boxcolor=0x102040@0.63:boxborderw=12"
done
echo "crawl steps over black, rows 860-1020 (frames with the whole text in view):"
printf 'flower-title: '
flower "$dir/black.y4m" "--band #00000000" | "$here/crawl_steps.py" 860 1020
printf 'drawtext:     '
drawtext "$dir/black.y4m" "" | "$here/crawl_steps.py" 860 1020
