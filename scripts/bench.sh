#!/usr/bin/env bash
# bench.sh [--cold] [--draw] [DIR [OTHER...]]: measures over DIR (default /usr) how far an estimate
# is off, how long it takes, also on storage that answers late, and what memory it needs; over each
# OTHER only how far it is off. It ends with tables of the figures. With --cold it empties the file
# cache, which only root may, and measures without it, too. With --draw it draws the figures of DIR
# into docs/. It needs room for the compressed data of a directory in the folder for temporary files
# (TMPDIR, else /tmp).
set -euo pipefail
if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
  sed -n '2,/^set/ { s/^# //p }' "$0"
  exit
fi
cold=
draw=
while [[ ${1:-} = -* ]]; do
  case $1 in
    --cold) cold="sh -c 'sync; echo 3 >/proc/sys/vm/drop_caches'" ;;
    --draw) draw=yes ;;
    *)
      echo "usage: bench.sh [--cold] [--draw] [DIR [OTHER...]]" >&2
      exit 1
      ;;
  esac
  shift
done
directories=()
for directory in "${@:-/usr}"; do
  directory=$(realpath -e "$directory")
  case $directory in
    / | *[!A-Za-z0-9_./+,:=@%-]*)
      echo "cannot measure / or a path with blanks or signs of the shell: $directory" >&2
      exit 1
      ;;
  esac
  directories+=("$directory")
done
directory=${directories[0]}
cd "$(dirname "$0")/.."
. scripts/install.sh
docs=$PWD/docs
threads=$(nproc)
parts=40

need programs
missing=()
for tool in hyperfine zstd time gdu mksquashfs:squashfs-tools ${draw:+gnuplot:gnuplot-nox}; do
  type -P "${tool%:*}" >/dev/null || missing+=("${tool#*:}")
done
[ ${#missing[@]} -eq 0 ] || install_debian "${missing[@]}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
{
  cmake --preset release
  cmake --build --preset programs -j "$(nproc)"
  cmake --install build/release --prefix "$work"
} </dev/null >&2
c++ -std=c++20 -O2 scripts/late.cpp -o "$work/late"
cd "$work"
./late true
mkdir artifact

# peak COMMAND...: the most memory that a command holds at once, in MiB.
peak() {
  command time -q -f %M -o peak "$@" >/dev/null || [ $? -eq 2 ]
  awk '{ printf "%.1f MiB", $1 / 1024 }' peak
}

# survey DIR: prints the memory that it takes.
survey() { peak ./kel_evaluation_tool "$1" bench; }

figure() { awk -v key="detect_directory_$1" '$1 == key { print $3 }' bench_file_info.log; }

# sampling FRACTION PART: the command line that leaves the finished line of a sample in `result`.
sampling() {
  echo "./kel_sim_test -f bench_file_type_file_list_new.log -s 128 -r $1 -j 64 -t $threads" \
    "-o $(figure size) -i $2 -l result"
}

# sample FRACTION PART: prints the memory that it takes.
sample() {
  local words
  read -ra words < <(sampling "$1" "$2")
  peak "${words[@]}"
}

# squashed DIR: the ratio of a squashfs image of the surveyed directory with the same blocks.
squashed() {
  mksquashfs "$1" image -comp zstd -Xcompression-level 1 -b 128K -no-fragments -no-duplicates \
    -no-hardlinks -no-xattrs -no-progress -quiet >/dev/null 2>&1
  # The compressed blocks lie between the superblock, 96 bytes, with the level, 6 bytes, and where
  # it says that the inodes start. Zeros alone are left out.
  local stored=$(($(od -An -t u8 -j 64 -N 8 image) - 102))
  rm image
  awk "BEGIN { if ($stored > 0) printf \"%.4f\", $(figure size) / $stored; else print \"none\" }"
}

# accuracy DIR: prints a row of the first table and leaves the lines of its samples in `samples` and
# that of all data in `exact`.
accuracy() {
  {
    survey "$1"
    sample 1 0
    mv result exact
    rm -f samples
    for ((part = 0; part < parts; part++)); do
      sample 0.05 "$part"
      cat result >>samples
    done
  } >/dev/null
  awk -v image="$(squashed "$1")" -v directory="$1" -v files="$(figure file_count)" \
    -v bytes="$(figure size)" '
    NR == FNR { exact = $6; next }
    { off = ($6 / exact - 1) * 100; squares += off * off; off = off < 0 ? -off : off
      worst = off > worst ? off : worst; isSampled += $12 != $14
      held += $12 <= exact && exact <= $14; width += ($14 - $12) / 2 / $6 * 100 }
    END {
      printf "| %s, %d files, %.2f GiB | %s | %s | ", directory, files, bytes / 2 ^ 30, exact, image
      if (isSampled)
        printf "%.2f %% | %.2f %% | ± %.2f %% | %d of %d |\n", sqrt(squares / FNR), worst,
               width / FNR, held, FNR
      else print "none, read whole | | | |" }' exact samples
}

# seconds RUNS COMMAND [HYPERFINE_OPTION...]: the median wall time of a command.
seconds() {
  local runs=$1 command=$2
  shift 2
  hyperfine --style none --runs "$runs" -N -i --export-csv timing.csv "$@" "$command" >/dev/null \
    2>hyperfine.err || { cat hyperfine.err >&2; return 1; }
  awk -F, 'END { print $(NF - 4) }' timing.csv
}

# race PREFIX WHERE DIR RUNS [HYPERFINE_OPTION...]: adds a line to `races`: where, the seconds of
# the survey, of find and of gdu over DIR, started by PREFIX, and what DIR holds.
race() {
  local prefix=$1 where=$2 dir=$3 runs=$4 times
  shift 4
  times=$(seconds "$runs" "$prefix./kel_evaluation_tool $dir bench" "$@")
  times+=$'\t'$(
    seconds "$runs" "${prefix}find $dir -type f -printf '%s %p\\0'" --output ./found "$@")
  times+=$'\t'$(seconds "$runs" "${prefix}gdu --non-interactive --no-progress $dir" "$@")
  printf '%s\t%s\t%d\n' "$where" "$times" $(($(figure file_count) + $(figure dir_count))) >>races
}

# estimate PREFIX WHERE RUNS [HYPERFINE_OPTION...]: adds a line to `estimates`: where and the
# seconds of the whole estimate and of its sample alone, started by PREFIX.
estimate() {
  local prefix=$1 where=$2 runs=$3 times
  shift 3
  times=$(seconds "$runs" "${prefix}sh -c 'exec ./kel_estimator <answers'" "$@")
  times+=$'\t'$(seconds "$runs" "$prefix$(sampling 0.05 0)" "$@")
  printf '%s\t%s\n' "$where" "$times" >>estimates
}

# files_in_one NUMBER: makes a directory of so many empty files and prints its name.
files_in_one() {
  mkdir "$work/$1"
  (cd "$work/$1" && seq "$1" | xargs touch)
  echo "$work/$1"
}

picture() {
  mkdir -p "$docs"
  gnuplot <<END
set encoding utf8
set terminal svg size 800,$2 font "sans-serif,13" background "#f4f4f4"
set output "$docs/$1.svg"
set tics nomirror
unset key
$(cat)
END
}

draw_intervals() {
  local ratio
  ratio=$(awk '{ print $6 }' exact)
  picture intervals 320 <<END
set title "$directory: 95 % intervals of $parts samples, and the ratio of all its data, $ratio"
set xlabel "sample"
set ylabel "ratio of the data alone"
set format y "%.2f"
set border 3
set xrange [-1:$parts]
set samples 2
holds(low, high) = low <= $ratio && $ratio <= high
plot $ratio linewidth 2 linecolor rgb "#2e8b57", "samples" \
  using 0:12:(0):(\$14 - \$12):(holds(\$12, \$14) ? 0x1f6fb4 : 0xc0392b) \
  with vectors nohead linewidth 2 linecolor rgb variable, \
  "" using 0:6 with points pointtype 7 pointsize 0.4 linecolor rgb "#1f6fb4"
END
}

# Each case in a frame of its own, since they lie too far apart for one.
draw_races() {
  awk -F '\t' '{ print "survey", $2, "2 0x1f6fb4\nfind", $3, "1 0x8a8f98\ngdu", $4, "0 0x8a8f98\n\n"
    }' races >bars  # label, length, place, colour
  picture survey 200 <<END
cases = "$(awk -F '\t' '{ printf "\047%s\047 ", $1 }' races)"
text(seconds) = sprintf(seconds < 10 ? "%.2f s" : "%.0f s", seconds)
set border 2
unset xtics
set ytics scale 0
set style fill solid noborder
set multiplot layout 1,words(cases) title "Time over $directory"
do for [i = 1:words(cases)] {
  set autoscale
  stats "bars" index i - 1 using 2 nooutput
  set xrange [0:1.4 * STATS_max]
  set yrange [-0.6:2.6]
  set title word(cases, i)
  plot "bars" index i - 1 using (\$2 / 2):3:(\$2 / 2):(0.35):4:ytic(1) with boxxyerror \
    linecolor rgb variable, "" index i - 1 using 2:3:(text(\$2)) with labels left offset 0.5,0
}
END
}

echo "1/3 samples, against reading everything and a squashfs image" >&2
for measured in "${directories[@]}"; do
  accuracy "$measured" >>accuracies
  [ -z "$draw" ] || [ "$measured" != "$directory" ] || draw_intervals
done
survey_peak=$(survey "$directory")
simulator_peak=$(sample 0.05 0)
blocks=$(awk '{ print $8 }' result)

echo "2/3 the survey, against find and gdu" >&2
late="each request 300 µs late"
race '' "file cache warm" "$directory" 10 --warmup 1
[ -z "$cold" ] || race '' "no file cache" "$directory" 3 --prepare "$cold"
race './late ' "$late" "$directory" 1
[ -z "$draw" ] || draw_races
race './late ' "late: /usr/share/doc" /usr/share/doc 3
race './late ' "late: 30,000 files in one directory" "$(files_in_one 30000)" 1
race './late ' "late: 100,000 files in one directory" "$(files_in_one 100000)" 1

echo "3/3 the whole estimate, against compressing everything" >&2
printf 'y\n%s\n%s\ny\n' "$directory" "$threads" >answers  # the last, if over 20 threads
survey "$directory" >/dev/null
estimate '' "file cache warm" 5 --warmup 1
[ -z "$cold" ] || estimate '' "no file cache" 3 --prepare "$cold"
estimate './late ' "$late" 3
compression=$(
  seconds 1 "sh -c 'tar cf - $directory 2>/dev/null | zstd -q -1 -T$threads | wc -c'" --warmup 1)

cat <<END

| data | all of it read | as squashfs | usual error | worst of $parts | 95 % interval | which held |
|---|---|---|---|---|---|---|
$(cat accuracies)

| $directory | files and directories | survey | \`find\` | gdu | survey, each |
|---|---|---|---|---|---|
$(awk -F '\t' '{ printf "| %s | %d | %.2f s | %.2f s | %.2f s | %.1f µs |\n", $1, $5, $2, $3, $4,
                        $2 / $5 * 1e6 }' races)

| $directory, $threads threads, $blocks blocks | whole estimate | its sample | each block |
|---|---|---|---|
$(awk -F '\t' -v blocks="$blocks" '{ printf "| %s | %.2f s | %.2f s | %.2f ms |\n", $1, $2, $3,
                                             $3 / blocks * 1000 }' estimates)
| \`tar cf - DIR \\| zstd -1 -T$threads \\| wc -c\`, file cache warm | $(
  printf '%.2f s' "$compression") | | |

Most memory held at once: $survey_peak by the survey, $simulator_peak by the simulator.
END
