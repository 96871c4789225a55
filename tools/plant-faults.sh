#!/usr/bin/env bash
# Plants the one-line faults of tests/faults/ one at a time and tells which the suite catches
# (docs/testing.md, "Planted faults").
set -uo pipefail

usage() {
  cat <<'EOF'
Usage: tools/plant-faults.sh [--build-dir DIR] [--full] [--no-baseline] [PATCH...]

For each patch (default: every tests/faults/*.patch, in name order): apply it to the source tree,
build DIR incrementally (default build/dev, which must be configured), run the tests of the areas
named in the patch's "# area:" line (ctest -R '^(area|...)\.'), note whether any failed, then take
the patch back out. Those areas are first built and run once on the clean tree: a test that fails
there catches nothing. A patch is taken back out also when the build fails, a step is interrupted
(Ctrl-C) or the script ends any other way; at the end DIR is built once more from the clean tree.

Prints a Markdown table: the fault, where it is planted (file:line), its area, and the tests that
caught it, "escaped" when every test passed, or "not observable" when the faulty tree did not build
or the patch did not apply. Ends with the share caught among the observable faults.

  --build-dir DIR  the configured build tree to use (default build/dev)
  --no-baseline    skip the run on the clean tree (when its tests are known to pass)
  --full           build everything in DIR; by default only what the areas' tests run (their
                   programs and the files of the build tree their commands name, with whatever
                   those depend on), or everything when that cannot be told
  -h, --help       print this help and exit

Refuses to run when tracked files of the tree have changes. Exit status: 0 when the campaign ran
(whatever it found), 1 on a usage error, a dirty tree or a build tree that is missing.
A patch is a `git diff` of one file outside tests/, after a header of comment lines:
  # area: update [fuzz]        the test areas whose tests should catch it
  # breaks: what the fault breaks, in one line
EOF
}

# One block, read whole before it runs: a change to this file meanwhile changes nothing of the run.
{
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build/dev"
full=0
baseline=1
patches=()
while (($#)); do
  case $1 in
  -h | --help) usage; exit 0 ;;
  --build-dir) [[ $# -ge 2 ]] || { echo "plant-faults: --build-dir needs a folder" >&2; exit 1; }
    build=$(realpath -m "$2"); shift ;;
  --full) full=1 ;;
  --no-baseline) baseline=0 ;;
  -*) echo "plant-faults: unknown option $1 (--help lists the options)" >&2; exit 1 ;;
  *) patches+=("$(realpath -m "$1")") ;;
  esac
  shift
done
cd "$root"
((${#patches[@]})) || patches=("$root"/tests/faults/*.patch)
for p in "${patches[@]}"; do
  [[ -f $p ]] || { echo "plant-faults: no patch $p" >&2; exit 1; }
done
[[ -f $build/CTestTestfile.cmake ]] || { echo "plant-faults: $build is no configured build tree (cmake --preset dev)" >&2; exit 1; }
if ! git diff --quiet HEAD --; then
  echo "plant-faults: the tree has uncommitted changes; commit or stash them first" >&2
  exit 1
fi

applied=""
log=$(mktemp -d)
take_out() {
  if [[ -n $applied ]]; then
    git apply -R "$applied" || echo "plant-faults: could not take $applied back out: see git diff" >&2
    applied=""
  fi
}
interrupted=0
trap 'take_out; rm -rf "$log"; ((!interrupted)) || echo "plant-faults: interrupted; the tree is clean again, rebuild $build" >&2' EXIT
trap 'interrupted=1; exit 130' INT TERM

header() { sed -n "s/^# $2: *//p" "$1" | head -n1; }

# Where the fault is: the file of the patch and the first changed line in the new file.
place() {
  awk '/^\+\+\+ b\// { file = substr($0, 7) }
       /^@@/ { split($3, a, /[+,]/); line = a[2]; next }
       file && line && /^[-+]/ && !/^(\+\+\+|---)/ { print file ":" line; exit }
       file && line && /^ / { line++ }' "$1"
}

# The targets that the tests matching regex run: their programs and the build-tree files their
# commands name; empty when ctest cannot list them.
targets_of() {
  ctest --test-dir "$build" -N -R "$1" --show-only=json-v1 2>/dev/null |
    grep -o "$build/[^\";]*" | sort -u |
    while read -r path; do
      rel=${path#"$build"/}
      [[ -n ${known[$rel]:-} ]] && echo "$rel"
    done
}
declare -A known=()
if ((!full)); then
  while read -r out; do known[$out]=1; done < <(ninja -C "$build" -t targets all 2>/dev/null | sed 's/: .*//')
fi

# Builds what the tests matching regex run; false when the build fails.
build_for() {
  local targets=()
  ((full)) || mapfile -t targets < <(targets_of "$1")
  if ((${#targets[@]})); then
    cmake --build "$build" -j2 --target "${targets[@]}" >"$log/build" 2>&1
  else
    cmake --build "$build" -j2 >"$log/build" 2>&1
  fi
}

# Runs the tests matching regex; prints the names of those that failed, one a line.
failures_of() {
  ctest --test-dir "$build" -R "$1" -j2 >"$log/test" 2>&1
  sed -n '/The following tests FAILED/,$ s/^[[:space:]]*[0-9]* - \([^ ]*\) .*/\1/p' "$log/test"
}

# Sets clean to a file that lists the tests of regex that fail on the clean tree (empty without
# the baseline run).
declare -A known_failures=()
clean_failures() {
  local file=${known_failures[$1]:-}
  if [[ -z $file ]]; then
    file="$log/clean-${#known_failures[@]}"
    : >"$file"
    if ((baseline)); then
      echo "== the clean tree, $1" >&2
      if ! build_for "$1"; then
        echo "plant-faults: the clean tree does not build: $log/build" >&2
        cat "$log/build" >&2
        exit 1
      fi
      failures_of "$1" >"$file"
      [[ -s $file ]] && echo "   failing already, so catching nothing: $(tr '\n' ' ' <"$file")" >&2
    fi
    known_failures[$1]=$file
  fi
  clean=$file
}

rows=()
caught=0 observable=0
for patch in "${patches[@]}"; do
  name=$(basename "$patch" .patch)
  areas=$(header "$patch" area)
  where=$(place "$patch")
  regex="^($(tr -s ' ' '|' <<<"$areas" | sed 's/|$//'))\\."
  result=""
  [[ -n $areas ]] && clean_failures "$regex"
  echo "== $name ($where, $areas)" >&2
  if [[ -z $areas ]]; then
    result="not observable (no area line)"
  elif ! git apply "$patch" 2>"$log/apply"; then
    result="not observable (does not apply: $(head -n1 "$log/apply"))"
  else
    applied=$patch
    if ! build_for "$regex"; then
      result="not observable (build fails)"
    else
      observable=$((observable + 1))
      failed=$(failures_of "$regex" | grep -vxF -f "$clean")
      if [[ -n $failed ]]; then
        caught=$((caught + 1))
        count=$(wc -l <<<"$failed")
        result="caught by \`$(head -n1 <<<"$failed")\`"
        ((count > 1)) && result+=" and $((count - 1)) more"
      elif grep -q "No tests were found" "$log/test"; then
        observable=$((observable - 1))
        result="not observable (no test matches $regex)"
      else
        result="escaped"
      fi
    fi
    take_out
  fi
  echo "   $result" >&2
  rows+=("| $name | $(header "$patch" breaks) | \`$where\` | ${areas%% *} | $result |")
done

echo "| fault | what it breaks | where | area | result |"
echo "|---|---|---|---|---|"
printf '%s\n' "${rows[@]}"
echo
if ((observable)); then
  echo "Caught $caught of $observable observable faults ($((100 * caught / observable)) %)."
else
  echo "No fault was observable."
fi
echo "Rebuilding $build from the clean tree" >&2
cmake --build "$build" -j2 >"$log/build" 2>&1 || echo "plant-faults: the clean tree does not build in $build" >&2
}; exit
