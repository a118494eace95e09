# shellcheck shell=bash
# Shared by the scripts of this project, to be sourced. No script changes the
# current directory: relative paths of the user's stay valid.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# step TEXT: says what begins now.
step() {
  echo "== $1"
}

die() {
  echo "$1" >&2
  exit 1
}

# failed LOG WHAT: ends the script with the end of the log of what failed,
# without the lines that only tell progress.
failed() {
  grep -vE '^\[[0-9]+/[0-9]+\] ' "$1" | tail -n 60 >&2 || true
  die "Failed: $2 (the whole log: $1)"
}

# logged LOG COMMAND...: runs a command with its output in a file.
logged() {
  mkdir -p "$(dirname "$1")"
  "${@:2}" </dev/null >"$1" 2>&1 || failed "$1" "${*:2}"
}

# configure PRESET [NAME=VALUE...]: sets up a build tree, unless it is there
# with the same options already.
configure() {
  local tree=$root/build/$1 option missing=()
  if [[ $1 == windows ]]; then
    "$root/scripts/windows-libs"
  fi
  for option in "${@:2}"; do
    grep -qs "^${option%%=*}:.*=${option#*=}$" "$tree/CMakeCache.txt" ||
      missing+=("-D$option")
  done
  if [[ -e $tree/build.ninja && ${#missing[@]} -eq 0 ]]; then
    return
  fi
  step "Configuring $1"
  logged "$tree/configure.log" \
    cmake -S "$root" --preset "$1" ${missing[@]+"${missing[@]}"}
}

# build PRESET TARGET: builds a configured tree; silent when all is built.
build() {
  local tree=$root/build/$1 line said=
  cmake --build "$tree" --target "$2" </dev/null 2>&1 |
    while IFS= read -r line; do
      if [[ -z $said && $line != *Re-checking* && $line != *'no work to do'* ]]; then
        step "Building $1"
        said=yes
      fi
      printf '%s\n' "$line" >&3
    done 3>"$tree/build.log" || failed "$tree/build.log" "building $1"
}
