#!/usr/bin/env bash
# bench.sh [--cold] [DIR]: measures over DIR (default /usr) how long an estimate takes, how far it
# is off and what memory it needs, and ends with a table of the figures. With --cold it empties the
# file cache, which only root may, and measures without it, too. It needs room for the compressed
# data of DIR in the folder for temporary files (TMPDIR, else /tmp).
set -euo pipefail
if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
  sed -n '2,/^set/ { s/^# //p }' "$0"
  exit
fi
cold=
if [ "${1:-}" = --cold ]; then
  cold='sync; echo 3 >/proc/sys/vm/drop_caches'
  shift
fi
if [ $# -gt 1 ] || [[ ${1:-} = -* ]]; then
  echo "usage: bench.sh [--cold] [DIR]" >&2
  exit 1
fi
directory=$(realpath -e "${1:-/usr}")
cd "$(dirname "$0")/.."
. scripts/install.sh

case $directory in
  / | *[!A-Za-z0-9_./+,:=@%-]*)
    echo "cannot measure / or a path with blanks or signs of the shell: $directory" >&2
    exit 1
    ;;
esac
threads=$(nproc)
parts=40

need programs
missing=()
for tool in hyperfine zstd time mksquashfs; do
  type -P "$tool" >/dev/null || missing+=("${tool/mksquashfs/squashfs-tools}")
done
[ ${#missing[@]} -eq 0 ] || install_debian "${missing[@]}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
{
  cmake --preset release
  cmake --build --preset programs -j "$(nproc)"
  cmake --install build/release --prefix "$work"
} </dev/null >&2
cd "$work"
mkdir artifact

# seconds RUNS COMMAND [HYPERFINE_OPTION...]: the median wall time of a command.
seconds() {
  local runs=$1 command=$2
  shift 2
  hyperfine --style none --runs "$runs" -i --export-csv timing.csv "$@" "$command" >/dev/null \
    2>hyperfine.err || { cat hyperfine.err >&2; return 1; }
  awk -F, 'END { print $(NF - 4) }' timing.csv
}

quotient() { awk "BEGIN { printf \"%.2f\", $1 / $2 }"; }

# peak COMMAND...: the most memory that a command holds at once, in MiB.
peak() {
  command time -q -f %M -o peak "$@" >/dev/null || [ $? -eq 2 ]
  awk '{ printf "%.1f MiB", $1 / 1024 }' peak
}

alias_name=$(printf %s "${directory#/}" | tr / _)
list=${alias_name}_file_type_file_list_new.log
figure() { awk -v key="detect_directory_$1" '$1 == key { print $3 }' "${alias_name}_file_info.log"; }

echo "1/4 the sample, against reading everything, which also warms the file cache" >&2
survey_peak=$(peak ./kel_evaluation_tool "$directory" "$alias_name")
# sample FRACTION PART: prints the memory that it takes and leaves the finished line in `result`.
sample() {
  peak ./kel_sim_test -f "$list" -s 128 -r "$1" -j 64 -t "$threads" -o "$(figure size)" -i "$2" \
    -l result
}
sample 1 0 >/dev/null
exact=$(awk '{ print $6 }' result)
for ((part = 0; part < parts; part++)); do
  simulator_peak=$(sample 0.05 "$part")
  cat result >>results
done
if [ -z "$(awk '$12 != $14' results)" ]; then
  sample_rows="| the sampled ratio | no sample to test: so little data is read whole |"
else
  sample_rows=$(awk -v exact="$exact" '
    { off = ($6 / exact - 1) * 100; squares += off * off; off = off < 0 ? -off : off
      worst = off > worst ? off : worst
      held += $12 <= exact && exact <= $14; width += ($14 - $12) / 2 / $6 * 100 }
    END {
      printf "| the sampled ratio of %d parts, against reading everything (%s): usual error | ", NR, exact
      printf "%.2f %% |\n| the same, the worst of them | %.2f %% |\n", sqrt(squares / NR), worst
      printf "| the 95 %% interval holds the exact ratio | in %d of %d parts, ±%.2f %% |\n", held, NR,
             width / NR }' results)
fi

echo "2/4 the survey, against find" >&2
survey=$(seconds 10 "./kel_evaluation_tool $directory $alias_name" -N --warmup 1)
find=$(seconds 10 "find $directory -type f -printf '%s %p\0'" -N --warmup 1 --output ./found)

echo "3/4 the whole estimate, against compressing everything" >&2
printf 'y\n%s\n%s\ny\n' "$directory" "$threads" >answers  # the last, if over 20 threads
estimate=$(seconds 5 'sh -c "exec ./kel_estimator <answers"' -N --warmup 1)
compression=$(seconds 1 "tar cf - $directory 2>/dev/null | zstd -q -1 -T$threads | wc -c")

rows=
if [ -n "$cold" ]; then
  cold_survey=$(seconds 3 "./kel_evaluation_tool $directory $alias_name" --prepare "$cold")
  cold_find=$(seconds 3 "find $directory -type f -printf '%s %p\\0' >found" --prepare "$cold")
  cold_estimate=$(seconds 3 "./kel_estimator <answers" --prepare "$cold")
  rows="| without a file cache: the survey, against the same \`find\` | $(quotient "$cold_survey" "$cold_find") times as long ($(quotient "$cold_survey" 1) s, $(quotient "$cold_find" 1) s) |
| without a file cache: the whole estimate | $(quotient "$cold_estimate" 1) s |
"
fi

echo "4/4 reading everything, against a squashfs image of the same blocks" >&2
mksquashfs "$directory" image -comp zstd -Xcompression-level 1 -b 128K -no-fragments \
  -no-duplicates -no-hardlinks -no-xattrs -no-progress -quiet >/dev/null 2>&1
# The compressed blocks lie between the superblock, 96 bytes, with the level, 6 bytes, and where it
# says that the inodes start.
stored=$(($(od -An -t u8 -j 64 -N 8 image) - 102))
image_row=
if [ "$stored" -gt 0 ]; then  # not of zeros alone, which it leaves out
  image_row="| reading everything, against a squashfs image of the same blocks | $exact, $(
    awk "BEGIN { printf \"%.4f\", $(figure size) / $stored }") |
"
fi

cat <<END

$directory: $(figure file_count) files, $(quotient "$(figure size)" 1073741824) GiB; $threads threads, file cache warm

| what | measured |
|---|---|
| the survey, against \`find DIR -type f -printf '%s %p\\0' >FILE\` | $(quotient "$survey" "$find") times as long ($(quotient "$survey" 1) s, $(quotient "$find" 1) s) |
| the whole estimate, against \`tar cf - DIR \\| zstd -1 -T$threads \\| wc -c\` | $(quotient "$compression" "$estimate") times as fast ($(quotient "$estimate" 1) s, $(quotient "$compression" 1) s) |
$sample_rows
$image_row$rows| most memory held by the survey | $survey_peak |
| most memory held by the simulator | $simulator_peak |
END
