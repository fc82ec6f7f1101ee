#!/bin/sh
# overall.sh [-n TIMES] [FOLDER:]DIR...: tells how well all DIR together would compress, by the
# estimator's formula without its cap, and the bytes that they would take, with the ends of both,
# from the figures that the last runs left in this folder or in FOLDER. DIR is typed as to the
# estimator, behind FOLDER as an absolute path; one that holds ":/" needs ".:" in front. Each DIR
# behind -n counts so many times, up to the next -n: overall.sh -n 10 web:/srv -n 2 db:/data /home
# Exit status 0: complete; 2: data or an error is missing, as the answer says; 1: no answer.
export LC_ALL=C
unset CDPATH
usage='usage: overall.sh [-n TIMES] [FOLDER:]DIR [[-n TIMES] [FOLDER:]DIR]...'

fail() {
  printf 'overall.sh: %s\n' "$1" >&2
  exit 1
}

say() {
  printf '%s\n' "$1" 2>&- || fail "cannot write to standard output"
}

# Finds what the runs left of [FOLDER:]DIR: sets its name, its place, that is where it lies among
# all, and its two files.
find_figures() {
  name=$1 folder=. directory=$1
  case $name in
    *:/*) folder=${name%%:/*} directory=/${name#*:/} ;;
    /*) ;;
    *)
      directory=$(cd -P "./$name" 2>&1 && pwd) || fail "no directory $name"
      name=$directory
      ;;
  esac
  # The same however it is spelled.
  folder=$(cd -P -- "$folder/" 2>&1 && pwd) || fail "cannot enter the folder of $name"
  place=$folder:$(printf %s/ "$directory" | tr -s /)
  alias=$(printf %s "$directory" | tr / _)
  info_log=$folder/${alias#_}_file_info.log
  result=$folder/artifact/${alias#_}_p0.drav
  for file in "$info_log" "$result"; do
    reason=$( (: <"$file") 2>&1) ||
      fail "cannot read $file for $name, typed as to the estimator: ${reason##*: }"
    [ -s "$file" ] || fail "the last run left no figures of $name: $file is empty"
  done
}

# The words give way to what awk needs of each directory.
times=1 expected='directory'
for word; do
  shift
  if [ "$expected" = 'times' ]; then
    case $word in '' | 0* | *[!0-9]* | ??????????*) fail "$usage" ;; esac
    times=$word expected='directory'
    continue
  fi
  case $word in
    --help) say "$usage" && exit ;;
    -n) expected='times' ;;
    '' | -*) fail "$usage" ;;
    *)
      find_figures "$word"
      set -- "$@" "$times" "$name" "$place" "$info_log" "$result"
      expected=
      ;;
  esac
done
[ -z "$expected" ] || fail "$usage"

answer=$(awk '
  function fail(message) { print message; exit 1 }

  # ---- Read the figures of a directory, as they are written.

  # Two of a kind are as unusable as none.
  function take(name, text) {
    if (name in figure) text = figure[name] " " text
    figure[name] = text
  }

  function readInfoLog(file,  i) {
    while ((getline <file) > 0)
      for (i in logged) if (index($0, "detect_directory_" logged[i] " is:")) take(logged[i], $3)
    close(file)
  }

  function readResult(file) {
    while ((getline <file) > 0) {
      if (!/(^|[^A-Za-z0-9_])detection finished([^A-Za-z0-9_]|$)/) continue
      take("ratio", $6)
      take("blocks", $8)
      take("bytes read", $10)
      if ($11 == "95%:") { take("low end", $12); take("high end", $14) }
      if ($15 == "skipped:" && $17 == "unread:") { take("skipped", $16); take("unread", $18) }
      if ($19 == "of:") take("total", $20)
    }
    close(file)
  }

  # Plain digits, with or without a point.
  function isNumber(text) { return text ~ /^[0-9]+(\.[0-9]+)?$/ }
  function isPositive(text) { return isNumber(text) && text + 0 > 0 }

  function number(name, file) {
    if (!isNumber(figure[name]) || (name == "ratio" && !isPositive(figure[name])))
      fail("no usable " name " \"" figure[name] "\" in " file)
    return figure[name] + 0
  }
  function numberIfAny(name, file) { return name in figure ? number(name, file) : 0 }

  # ---- Add up the directories.

  # A place begins with the place of whatever it lies in.
  function refuseToCountTwice(name, place, infoLog,  other) {
    for (other in placeOf)
      if (index(place, placeOf[other]) == 1 || index(placeOf[other], place) == 1 ||
          infoLog == infoLogOf[other])
        fail("what " other " and " name " share would count twice")
    placeOf[name] = place
    infoLogOf[name] = infoLog
  }

  function smaller(a, b) { return a < b ? a : b }
  function larger(a, b) { return a > b ? a : b }

  function count(times, name, infoLog, result,  size, middle) {
    split("", figure)
    readInfoLog(infoLog)
    readResult(result)
    size = number("size", infoLog)
    if ("total" in figure && number("total", result) != size)
      fail("figures of two runs for " name ": " figure["size"] " bytes in " infoLog ", but " \
           figure["total"] " in " result)
    middle = size / number("ratio", result)
    bytes += times * size
    compressed += times * middle
    fixed += times * (1024 * number("file_count", infoLog) + 327680 * number("dir_count", infoLog))
    if ("allocated_size" in figure) allocated += times * number("allocated_size", infoLog)
    else isAllocationUnknown = 1
    unallocated += times * smaller(numberIfAny("unallocated_size", infoLog), size)
    leftOut += numberIfAny("left_out_count", infoLog)
    countUnread(times, size, middle, result)
    countError(times, size, middle)
  }

  # It may be incompressible or nothing, which is no error of chance: the bounds add up as they are.
  # How much it is a sample knows with two usual errors, those of a share of so many blocks.
  function countUnread(times, size, middle, result,  share, incompressible, low, square) {
    share = smaller(numberIfAny("unread", result), 1)
    if (numberIfAny("skipped", result) > 0 && share == 0) share = 0.00005  # shown as 0.0000
    incompressible = larger(size, middle)
    low = figure["low end"]
    ceiling += times * larger(incompressible, isPositive(low) ? size / low : 0)
    unread += times * share * size
    unreadMore += times * share * (incompressible - middle)
    unreadLess += times * share * middle
    if (share == 0 || low == figure["high end"]) return
    square = 4 * share * (1 - share) / larger(number("blocks", result) + figure["skipped"], 1)
    squaresMore += square * times * (incompressible - middle) * times * (incompressible - middle)
    squaresLess += square * times * middle * times * middle
  }

  # Errors of independent samples add up by their squares; TIMES the same data is one sample.
  function countError(times, size, middle,  low, high, most, fewest) {
    low = figure["low end"]
    high = figure["high end"]
    most = isPositive(low) ? size / low : -1
    fewest = high == "inf" ? 0 : isPositive(high) ? size / high : most + 1
    if (fewest <= middle && middle <= most) {
      squaresMore += times * (most - middle) * times * (most - middle)
      squaresLess += times * (middle - fewest) * times * (middle - fewest)
    } else if (figure["bytes read"] + 0 < size) {
      isErrorUnknown = 1
    }
  }

  # By the method of Newton, since not every awk has the functions of mathematics.
  function root(square,  guess, i) {
    guess = square + 1
    for (i = 0; i < 200; ++i) guess = (guess + square / guess) / 2
    return guess
  }

  # ---- Tell what comes of it. `up` is 1 to round up, -1 to round down and 0 to round to nearest.

  function hundredths(x, up,  nearest) {
    nearest = sprintf("%.0f", 100 * x) + 0
    return up * (100 * x - nearest) > 0 ? nearest + up : nearest
  }

  # By the formula of the estimator. What is fixed stands on both sides.
  function ratioText(before, after, up) {
    return sprintf("%.2f", hundredths((before + fixed) / (after + fixed), up) / 100)
  }

  # In the unit that the tools take.
  function sizeText(size, up,  unit) {
    size /= 1024
    for (unit = 1; unit < 6 && hundredths(size, up) >= 102400; ++unit) size /= 1024
    return sprintf("%.2f %siB", hundredths(size, up) / 100, substr("KMGTPE", unit, 1))
  }

  # Its ends are rounded outwards, so that they hold what they are sure of.
  function interval(low, high) {
    if (isErrorUnknown || squaresMore + squaresLess + unread == 0) return ""
    return (squaresMore + squaresLess > 0 ? ", 95 % sure" : ", surely") " between " low " and " high
  }

  function ratioWithEnds(before) {
    return ratioText(before, compressed, 0) \
           interval(ratioText(before, most, -1), ratioText(before, fewest, 1))
  }

  function percentText(percent) {
    return (percent < 0.1 ? "less than 0.1" : percent > 99.9 ? "more than 99.9" : \
            sprintf("%.1f", percent)) " %"
  }

  function ratioSentence(  text) {
    text = "Overall ratio of " names ": " ratioWithEnds(bytes)
    if (isErrorUnknown) text = text ", from a sample that does not tell its error"
    if (unallocated > 0 && unallocated >= 0.01 * bytes)
      text = text "; without its holes, or what the file system has compressed already, " \
             ratioWithEnds(bytes - unallocated)
    if (unread > 0)
      text = text "; " percentText(100 * unread / bytes) " of the data found could not be read:" \
             " it counts like the rest" (isErrorUnknown ? "" : ", and the ends hold whatever it is")
    if (leftOut > 0)
      text = text "; directories or files that the survey could not read: " \
             sprintf("%.0f", leftOut) ", and what they hold is missing"
    return text "."
  }

  function sizeSentence() {
    return "It takes " sizeText(compressed + fixed, 0) \
           interval(sizeText(fewest + fixed, -1), sizeText(most + fixed, 1)) \
           ", for " sizeText(bytes, 0) " in files" \
           (isAllocationUnknown ? "." : ", which take " sizeText(allocated, 0) " now.")
  }

  BEGIN {
    split("size file_count dir_count allocated_size unallocated_size left_out_count", logged, " ")
    fixed = 1073741824  # once, whatever there is of the rest
    for (i = 1; i < ARGC; i += 5) {
      refuseToCountTwice(ARGV[i + 1], ARGV[i + 2], ARGV[i + 3])
      count(ARGV[i], ARGV[i + 1], ARGV[i + 3], ARGV[i + 4])
      names = names (i == 1 ? "" : ", ") (ARGV[i] == 1 ? "" : ARGV[i] " times ") ARGV[i + 1]
    }
    most = smaller(compressed + root(squaresMore) + unreadMore, ceiling)
    fewest = larger(compressed - root(squaresLess) - unreadLess, 0)
    print ratioSentence()
    print sizeSentence()
    if (isErrorUnknown || unread > 0 || leftOut > 0) exit 3  # 2 is what some awk fails with
  }' "$@")
case $? in 0) status=0 ;; 3) status=2 ;; *) fail "$answer" ;; esac
say "$answer"
exit "$status"
