#!/usr/bin/env bash
# Builds the Debian package from this tree as Debian builds it, unpacks it
# into a scratch root, and checks the installed files on their own: lintian
# finds no error, orvane-convert converts with the packaged data, orvane
# answers over its protocol, the manual pages are there and Fcitx5 finds the
# engine. The package's own tests are left out of its build (nocheck), since
# ./build-and-test.sh runs them already; set DEB_BUILD_OPTIONS to change that.
#   scripts/package-check.sh           build, install into a scratch root, check
#   scripts/package-check.sh --bench   also time the installed orvane's first answer
#   scripts/package-check.sh --keep    keep the scratch directory (its path is printed)
# Needs the packaging tools and every Build-Depends: scripts/install-deps.sh --package.
set -euo pipefail
cd "$(dirname "$0")/.."

bench= keep=
for option in "$@"; do
  case "$option" in
    --bench) bench=1 ;;
    --keep) keep=1 ;;
    *) echo "usage: scripts/package-check.sh [--bench] [--keep]" >&2; exit 2 ;;
  esac
done

for tool in dpkg-buildpackage dh lintian fakeroot dbus-run-session dbus-send fcitx5; do
  if ! command -v "$tool" >/dev/null; then
    echo "error: $tool is missing: run scripts/install-deps.sh --package" >&2
    exit 1
  fi
done
if ! perl -MNet::DBus -e 1 2>/dev/null; then
  echo "error: Perl's Net::DBus is missing: run scripts/install-deps.sh --package" >&2
  exit 1
fi
if ! unmet=$(dpkg-checkbuilddeps 2>&1); then
  echo "error: ${unmet#dpkg-checkbuilddeps: error: }; run scripts/install-deps.sh --package" >&2
  exit 1
fi

scratch=$(mktemp -d "${TMPDIR:-/tmp}/orvane-package.XXXXXX")
if [ -n "$keep" ]; then
  echo "== Scratch directory: $scratch"
else
  trap 'rm -rf "$scratch"' EXIT
fi
failures=0
fail() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# The tree as it is, build directories and ignored files left out; the
# package is built in a copy so that its build never touches this one.
echo "== Copying the source tree"
mkdir "$scratch/orvane"
git ls-files -z --cached --others --exclude-standard |
  tar --null --files-from=- --ignore-failed-read -cf - 2>/dev/null | tar -C "$scratch/orvane" -xf -

# Sets cpu to the CPU seconds of the programs this shell waited for: a
# figure of the build that does not depend on what else the machine is
# doing. Called in this shell, not in a substitution, which would count
# only its own children.
children_cpu() {
  times >"$scratch/times"
  cpu=$(tail -n 1 "$scratch/times" | awk '{ split($1, u, /[ms]/); split($2, s, /[ms]/); printf "%d", u[1] * 60 + u[2] + s[1] * 60 + s[2] }')
}

echo "== Building the package (log: $scratch/build.log)"
started=$(date +%s)
children_cpu
cpu_before=$cpu
if ! (cd "$scratch/orvane" &&
  DEB_BUILD_OPTIONS=${DEB_BUILD_OPTIONS-nocheck} dpkg-buildpackage -us -uc -b) >"$scratch/build.log" 2>&1; then
  tail -n 40 "$scratch/build.log" >&2
  echo "FAILED: dpkg-buildpackage (the whole log: $scratch/build.log; --keep keeps it)" >&2
  exit 1
fi
elapsed=$(($(date +%s) - started))
children_cpu
echo "   built in $((elapsed / 60)) min $((elapsed % 60)) s, $((cpu - cpu_before)) s of CPU time," \
  "with the load average at $(cut -d ' ' -f 1 /proc/loadavg) on $(nproc) processors"

changes=$(ls "$scratch"/orvane_*.changes)
deb=$(ls "$scratch"/orvane_*_"$(dpkg --print-architecture)".deb)
echo "   $(basename "$deb"): $(($(stat -c %s "$deb") / 1024)) KiB, installed size $(dpkg-deb -f "$deb" Installed-Size) KiB"

echo "== lintian"
if ! lintian --fail-on error "$changes" 2>&1 | sed 's/^/   /'; then
  fail "lintian reports errors"
fi

root="$scratch/root"
echo "== Unpacking into $root"
dpkg-deb -x "$deb" "$root"
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
home="$scratch/home"
mkdir -p "$home"
# Only the installed files: no bundle named from outside, a fresh user.
run() { env -u ORVANE_BUNDLE HOME="$home" XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" "$@"; }

echo "== The installed programs"
for page in orvane orvane-term orvane-convert orvane-eval orvane-mkdict; do
  [ -x "$root/usr/bin/$page" ] || fail "/usr/bin/$page is missing"
  [ -f "$root/usr/share/man/man1/$page.1.gz" ] || fail "the manual page $page.1 is missing"
done
credits="$root/usr/lib/orvane/Orvane IME.app/Contents/Resources/Mozc/CREDITS.txt"
[ -s "$credits" ] || fail "the packaged data has no CREDITS.txt"

converted=$(run "$root/usr/bin/orvane-convert" わたしはにほんじんです 2>&1) || true
if [ "$converted" = 私は日本人です ]; then
  echo "   orvane-convert わたしはにほんじんです: $converted"
else
  fail "orvane-convert わたしはにほんじんです gave '$converted', not 私は日本人です"
fi

registered=$(run "$root/usr/bin/orvane" --register 2>&1) || true
[ "$registered" = "TISRegisterInputSource: 0" ] || fail "orvane --register printed '$registered'"
# A reading with one usual spelling, so that the check does not hang on how
# the data ranks homophones (かんじ rightly gives 感じ before 漢字).
answer=$(printf '%s\n' '{"op":"type","text":"nihongo "}' |
  run "$root/usr/bin/orvane" 2>/dev/null | grep -c '"setMarkedText".*"日本語' || true)
if [ "$answer" -ge 1 ]; then
  echo "   orvane converts nihongo + Space to 日本語 over its protocol"
else
  fail "orvane did not convert nihongo to 日本語 over its protocol"
fi

echo "== Fcitx5 with the installed engine"
# Fcitx5 finds the addon's files through these variables and reads its
# profile (Orvane in the group) from the fresh user's configuration; a
# private session bus keeps it away from any desktop running here. An input
# context made over Fcitx5's DBus interface types romaji into the engine.
mkdir -p "$home/config/fcitx5"
printf '%s\n' '[Groups/0]' 'Name=Default' 'Default Layout=us' 'DefaultIM=orvane' '' \
  '[Groups/0/Items/0]' 'Name=keyboard-us' 'Layout=' '' '[Groups/0/Items/1]' 'Name=orvane' 'Layout=' '' \
  '[GroupOrder]' '0=Default' >"$home/config/fcitx5/profile"
cat >"$scratch/type.pl" <<'PERL'
use strict;
use warnings;
use Net::DBus qw(:typing);
use Net::DBus::Reactor;

my $fcitx = Net::DBus->session->get_service("org.fcitx.Fcitx5");
my $controller = $fcitx->get_object("/controller", "org.fcitx.Fcitx.Controller1");
my $im = $fcitx->get_object("/org/freedesktop/portal/inputmethod", "org.fcitx.Fcitx.InputMethod1");
my ($path) = $im->CreateInputContext([["program", "package-check"]]);
my $ic = $fcitx->get_object($path, "org.fcitx.Fcitx.InputContext1");
my $committed = "";
$ic->connect_to_signal("CommitString", sub { $committed .= shift; });
$ic->FocusIn();
$controller->SetCurrentIM("orvane");
print "input method: ", $controller->CurrentInputMethod(), "\n";
# The romaji as key symbols, then Space and Return.
for my $key (map(ord, split //, $ARGV[0]), 0x20, 0xff0d) {
  $ic->ProcessKeyEvent(dbus_uint32($key), dbus_uint32(0), dbus_uint32(0), dbus_boolean(0), dbus_uint32(0));
}
my $reactor = Net::DBus::Reactor->main;
$reactor->add_timeout(500, Net::DBus::Callback->new(method => sub { $reactor->shutdown }));
$reactor->run;
utf8::decode($committed) unless utf8::is_utf8($committed);
binmode STDOUT, ":encoding(UTF-8)";
print "committed: $committed\n";
PERL
cat >"$scratch/fcitx.sh" <<'SH'
fcitx5 --disable=all --enable=dbus,dbusfrontend,keyboard,orvane >"$1" 2>&1 &
fcitx=$!
for _ in $(seq 100); do
  dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.NameHasOwner string:org.fcitx.Fcitx5 2>/dev/null | grep -q "boolean true" && break
  sleep 0.1
done
perl "$2" watashihanihonjindesu
kill "$fcitx"
wait "$fcitx" 2>/dev/null
SH
fcitx_out=$(run FCITX_ADDON_DIRS="$root/usr/lib/$multiarch/fcitx5:/usr/lib/$multiarch/fcitx5" \
  FCITX_DATA_DIRS="$root/usr/share/fcitx5:/usr/share/fcitx5" \
  timeout 120 dbus-run-session -- bash "$scratch/fcitx.sh" "$scratch/fcitx5.log" "$scratch/type.pl" 2>&1) || true
if [[ $fcitx_out == *"input method: orvane"* && $fcitx_out == *"committed: 私は日本人です"* ]]; then
  echo "   Fcitx5 loads the engine; watashihanihonjindesu, Space, Return commit 私は日本人です"
else
  sed 's/^/   /' <<<"$fcitx_out" >&2
  sed 's/^/   fcitx5: /' "$scratch/fcitx5.log" >&2
  fail "Fcitx5 did not convert with the installed engine"
fi

if [ -n "$bench" ]; then
  echo "== Time from starting the installed orvane to the answer of its first request"
  # One launch first, as after installing: the default user dictionary is copied.
  first_answer_us() {
    local start line
    start=$EPOCHREALTIME
    coproc ORVANE { run "$root/usr/bin/orvane" 2>/dev/null; }
    printf '%s\n' '{"op":"type","text":"a"}' >&"${ORVANE[1]}"
    while IFS= read -r line <&"${ORVANE[0]}"; do
      [[ $line == '{"result"'* ]] && break
    done
    local end=$EPOCHREALTIME
    exec {ORVANE[1]}>&-
    wait "$ORVANE_PID" 2>/dev/null || true
    echo $((${end/./} - ${start/./}))
  }
  first_answer_us >/dev/null
  times=()
  for _ in $(seq 21); do times+=("$(first_answer_us)"); done
  sorted=($(printf '%s\n' "${times[@]}" | sort -n))
  us() { printf '%d.%d ms' $(($1 / 1000)) $(($1 % 1000 / 100)); }
  echo "   median $(us "${sorted[10]}"), fastest $(us "${sorted[0]}"), slowest $(us "${sorted[20]}") of 21 launches"
fi

if [ "$failures" -gt 0 ]; then
  echo "== The package check FAILED ($failures)" >&2
  exit 1
fi
echo "== The package builds, installs and works"
