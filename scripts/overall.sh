#!/bin/sh
# overall.sh [-n TIMES] [FOLDER:]DIR...: prints the overall compression ratio of all DIR together,
# by the estimator's formula, without its cap and with its 95 % interval, from the figures that the
# last runs left in this folder or in FOLDER. DIR is typed as to the estimator, behind FOLDER as an
# absolute path; one that holds ":/" needs ".:" in front. With -n it is the ratio of TIMES times as
# much of the same data. For example:
#     overall.sh -n 10 db1:/data db2:/data /srv/mail
LC_ALL=C
export LC_ALL
usage='usage: overall.sh [-n TIMES] [FOLDER:]DIR...'

fail() {
  printf 'overall.sh: %s\n' "$1" >&2
  exit 1
}

times=1
case ${1:-} in
  --help)
    echo "$usage"
    exit
    ;;
  -n)
    times=${2:-}
    case $times in '' | 0* | *[!0-9]* | ??????????*) fail "$usage" ;; esac
    shift 2
    ;;
  -*) fail "$usage" ;;
esac
[ $# -gt 0 ] || fail "$usage"

names=
for name; do
  shift
  folder=. directory=$name
  case $name in
    *:/*) folder=${name%%:/*} directory=/${name#*:/} ;;
    /*) ;;
    *)
      directory=$(cd -P "./$name" 2>/dev/null && pwd) || fail "no directory $name"
      name=$directory
      ;;
  esac
  alias=$(printf %s "$directory" | tr / _)
  alias=${alias#_}
  # The directory gives way to its two files.
  for file in "$folder/${alias}_file_info.log" "$folder/artifact/${alias}_p0.drav"; do
    [ -s "$file" ] || fail "no figures of $name in $file: type it as to the estimator, whose \
last run may have left none"
    set -- "$@" "$file"
  done
  names=$names${names:+, }$name
done

answer=$(awk -v times="$times" '
  function isNumber(text) { return text ~ /^[0-9]+(\.[0-9]+)?$/ }
  function isPositive(text) { return isNumber(text) && text + 0 > 0 }

  # Two figures of a kind are as unusable as none.
  function take(name, text) { figure[name] = figure[name] (figure[name] == "" ? "" : " ") text }

  function usable(name, file) {
    if (isNumber(figure[name]) && (name != "ratio" || isPositive(figure[name]))) return figure[name]
    print "no usable " name " \"" figure[name] "\" in " file
    exit 1
  }

  function read(infoLog, result) {
    split("", figure)
    while ((getline <infoLog) > 0) {
      if (/detect_directory_size is:/) take("size", $3)
      if (/detect_directory_file_count is:/) take("file count", $3)
      if (/detect_directory_dir_count is:/) take("directory count", $3)
      if (/detect_directory_unallocated_size is:/) unallocated += $3
      if (/detect_directory_left_out_count is:/) leftOut += $3
    }
    while ((getline <result) > 0) {
      if (/(^|[^A-Za-z0-9_])detection finished([^A-Za-z0-9_]|$)/) {
        take("ratio", $6)
        figure["bytes read"] = $10
        if ($11 == "95%:") { figure["low"] = $12; figure["high"] = $14 }
        if ($15 == "skipped:" && $17 == "unread:") { skipped += $16; figure["unread"] = $18 }
      }
    }
    close(infoLog)
    close(result)
  }

  # Adds up the directories; the errors, of independent samples, by their squares.
  function add(infoLog, result,  size, middle, low, high, most, least) {
    read(infoLog, result)
    size = usable("size", infoLog) + 0
    overhead += 1024 * usable("file count", infoLog) + 327680 * usable("directory count", infoLog)
    middle = size / usable("ratio", result)
    bytes += size
    compressed += middle
    unread += figure["unread"] * size
    # Both ends are usable where the ratio lies between them.
    low = figure["low"]
    high = figure["high"]
    most = isPositive(low) ? size / low : -1
    least = high == "inf" ? 0 : isPositive(high) ? size / high : most + 1
    if (least <= middle && middle <= most) {
      squaresAbove += (most - middle) * (most - middle)
      squaresBelow += (middle - least) * (middle - least)
    } else if (!isNumber(figure["bytes read"]) || figure["bytes read"] + 0 < size) {
      isErrorUnknown = 1
    }
  }

  # By halving, since not every awk has the functions of mathematics.
  function root(square,  least, most, middle, i) {
    most = square + 1
    for (i = 0; i < 400; ++i) {
      middle = (least + most) / 2
      if (middle * middle < square) least = middle
      else most = middle
    }
    return most
  }

  # The formula of the estimator; the 1 GiB counts once, whatever there is of the rest.
  function overall(bytes, compressed,  fixed) {
    fixed = 1073741824 + times * overhead
    return (times * bytes + fixed) / (times * (compressed > 0 ? compressed : 0) + fixed)
  }

  BEGIN {
    for (i = 1; i < ARGC; i += 2) add(ARGV[i], ARGV[i + 1])
    text = sprintf("%.2f", overall(bytes, compressed))
    if (isErrorUnknown) {
      text = text ", from a sample that does not tell its error"
    } else if (squaresAbove + squaresBelow > 0) {
      # Rounded outwards, so that the ends still hold what they are sure of.
      low = int(100 * overall(bytes, compressed + root(squaresAbove)))
      end = 100 * overall(bytes, compressed - root(squaresBelow))
      high = int(end) < end ? int(end) + 1 : int(end)
      text = text sprintf(", 95 %% sure between %.2f and %.2f", low / 100, high / 100)
    }
    if (unallocated > 0 && unallocated >= 0.01 * bytes)
      text = text "; without its holes, or what the file system has compressed already, " \
             sprintf("%.2f", overall(bytes - unallocated, compressed))
    if (skipped > 0) {
      percent = bytes > 0 ? 100 * unread / bytes : 0
      text = text "; " (percent < 0.1 ? "less than 0.1" : percent > 99.9 ? "more than 99.9" : \
                        sprintf("%.1f", percent))
      text = text " % of the data found could not be read and counts like the rest"
    }
    if (leftOut > 0)
      text = text "; " leftOut (leftOut == 1 ? " directory or file" : " directories or files") \
             " could not be read by the survey and " (leftOut == 1 ? "is" : "are") " missing"
    print text "."
  }' "$@") || fail "$answer"
[ "$times" = 1 ] || names="$times times $names"
printf 'Overall ratio of %s: %s\n' "$names" "$answer"
