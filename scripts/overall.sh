#!/bin/sh
# overall.sh DIR: prints the overall compression ratio of DIR by the estimator's formula, without
# its cap and with its 95 % interval, from the figures that the last run in this folder left. DIR is
# typed as to the estimator.
LC_ALL=C
export LC_ALL

fail() {
  printf 'overall.sh: %s\n' "$1" >&2
  exit 1
}

[ $# -eq 1 ] || fail "usage: overall.sh DIR"
case $1 in
  /*) directory=$1 ;;
  *) directory=$(cd -P "./$1" 2>/dev/null && pwd) || fail "no directory $1" ;;
esac
alias=$(printf %s "$directory" | tr / _)
log=./${alias#_}_file_info.log
result=./artifact/${alias#_}_p0.drav
for file in "$log" "$result"; do
  [ -r "$file" ] || fail "no figures of $directory here: cannot read $file"
done

answer=$(awk '
  function isNumber(text) { return text ~ /^[0-9]+(\.[0-9]+)?$/ }
  # Two figures of a kind are as unusable to the estimator as none.
  function take(name, text) {
    if (name in figure) text = "several"
    figure[name] = text
  }
  function overall(ratio) { return (size + overhead) / (size / ratio + overhead) }

  FILENAME == ARGV[1] && /detect_directory_size is:/ { take("size", $3) }
  FILENAME == ARGV[1] && /detect_directory_file_count is:/ { take("files", $3) }
  FILENAME == ARGV[1] && /detect_directory_dir_count is:/ { take("directories", $3) }
  FILENAME == ARGV[1] && /detect_directory_allocated_size is:/ { allocated = $3 }
  FILENAME == ARGV[1] && /detect_directory_left_out_count is:/ { missing += $3 }
  FILENAME == ARGV[2] && /(^|[^A-Za-z0-9_])detection finished([^A-Za-z0-9_]|$)/ {
    take("ratio", $6)
    if ($11 == "95%:" && isNumber($12) && $12 != $14) { low = $12; high = $14 }
    if ($15 == "skipped:") missing += $16
  }
  END {
    if (!isNumber(figure["size"]) || !isNumber(figure["files"]) ||
        !isNumber(figure["directories"])) { print "no usable figures in " ARGV[1]; exit 1 }
    if (!isNumber(figure["ratio"]) || figure["ratio"] + 0 == 0) {
      print "no usable ratio in " ARGV[2]
      exit 1
    }
    size = figure["size"]
    overhead = 1073741824 + figure["files"] * 1024 + figure["directories"] * 327680
    text = sprintf("Overall ratio %.2f", overall(figure["ratio"]))
    if (low != "") {
      # Not every awk takes inf for a number, so an interval without an upper end gets the limit.
      most = isNumber(high) ? overall(high) : (size + overhead) / overhead
      text = text sprintf(", 95 %% sure between %.2f and %.2f", overall(low), most)
    }
    if (isNumber(allocated) && allocated < 0.9 * size)
      text = text "; holes or data already compressed by the file system lift it"
    print text (missing > 0 ? "; what could not be read is missing." : ".")
  }' "$log" "$result") || fail "$answer"
printf '%s\n' "$answer"
