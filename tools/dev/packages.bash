# For ./dev: installs packages, and says what it installs.

as_root() {
  if [ "$(id -u)" = 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    fail "there is no sudo; run this as root: $*"
  fi
}

# Runs a command, and shows its output only if it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  [ "$status" = 0 ] || cat "$log" >&2
  rm -f "$log"
  return "$status"
}

# Shows a step and its percentage, on a terminal in one line that changes.
show_step() {
  if [ -t 2 ]; then
    printf '\rdev: %s: %3d %%\033[K' "$1" "$2" >&2
  elif [ "$shown_step" != "$1" ]; then
    echo "dev: $1" >&2
  fi
  shown_step=$1
}

# Reads the output of apt-get: shows how much it installs, and the progress from its status lines. Passes the other
# lines on.
show_progress() {
  local line percent packages='' size='' shown_step=''
  while IFS= read -r line; do
    IFS=: read -r _ _ percent _ <<<"$line"
    case "$line" in
      dlstatus:*) show_step downloading "${percent%.*}" ;;
      pmstatus:*) show_step installing "${percent%.*}" ;;
      *" newly installed, "*) packages=${line%% newly*}; packages=${packages##* } ;;
      "Need to get "*) size=${line#Need to get }; size=${size%% of *} ;;
      "After this operation, "*)
        line=${line#*, }
        echo "dev: $packages packages, $size to download, ${line%% of *} on the disk" >&2 ;;
      *) echo "$line" ;;
    esac
  done
  [ -z "$shown_step" ] || [ ! -t 2 ] || printf '\r\033[K' >&2
}

# Runs apt-get and shows its progress. Shows its messages only if it fails.
run_apt() {
  local messages status=0
  messages=$(mktemp)
  as_root env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 apt-get -yq -o APT::Status-Fd=1 "$@" 2>&1 |
    show_progress >"$messages" || status=$?
  [ "$status" = 0 ] || cat "$messages" >&2
  rm -f "$messages"
  return "$status"
}

can_install() { [ "$(id -u)" = 0 ] || command -v sudo >/dev/null; }

# Fails if this user cannot become root, and names the command of ./dev that root may run instead.
expect_root() { can_install || fail "this needs root, and there is no sudo; run this as root: ./dev $*"; }

install_command="apt-get install --no-install-recommends"

# Sets the caller's variable missing to the missing ones of the given packages. Fails if this user cannot install them.
find_missing() {
  local package
  missing=()
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok' || missing+=("$package")
  done
  [ ${#missing[@]} = 0 ] || can_install ||
    fail "packages are missing; install them as root: $install_command ${missing[*]}"
}

# Installs the missing ones of the given packages. Does not use sudo if none is missing.
install_missing() {
  local missing
  find_missing "$@"
  [ ${#missing[@]} -gt 0 ] || return 0
  local by_hand="$install_command ${missing[*]}"
  echo "dev: installing ${missing[*]}" >&2
  run_apt update || fail "cannot update the lists of packages; as root: $by_hand"
  run_apt install --no-install-recommends "${missing[@]}" || fail "cannot install the packages; as root: $by_hand"
}
