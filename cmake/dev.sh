# What the verbs of ./dev have in common. Sourced by it.
# shellcheck shell=bash disable=SC2154
passed=0 failed=0 skipped=0 # counts of tests, by run_tests

# Runs clang-tidy on those files in build/log/tidy.files that this preset builds below the folder.
tidy() { # PRESET FOLDER ARGUMENT...
  configure "$1"
  sed -n "s|^ *\"file\": \"$root/\($2.*\.c[p]*\)\",\?$|\1|p" "build/$1/compile_commands.json" |
    { grep -xFf "$logs/tidy.files" || true; } |
    xargs -rd '\n' -P "$(nproc)" -n 1 clang-tidy --quiet -p "build/$1" "${@:3}" 2>>"$logs/tidy.log"
}

say() { echo "$*" >&2; }

# Runs a command with its output in build/log/NAME.log, shows its progress meanwhile, and exits if it fails.
step() { # WORDS NAME COMMAND...
  local words=$1 log=$logs/$2.log begin=$SECONDS status=0 pause=15 clear='' end=$'\n' progress
  shift 2
  if [[ -t 2 ]]; then pause=1 clear=$'\e[K' end=$'\r'; fi
  say "$words"
  : >"$log"
  # Ends with this script even if that is killed, and does not keep its output open.
  while sleep "$pause" >/dev/null 2>&1 && kill -0 $$; do
    printf '%s  %4d s  %.90s%s' "$clear" $((SECONDS - begin)) "$(tail -n 1 "$log")" "$end" >&2
  done &
  progress=$!
  VANTRA_HOLD_OUTPUT=1 "$@" >"$log" 2>&1 </dev/null || status=$?
  kill "$progress"
  wait "$progress" 2>/dev/null || true
  printf '%s' "$clear" >&2
  ((status)) || return 0
  tail -n 30 "$log" >&2
  say "Failed: $words (all of it in $log)"
  exit "$status"
}

# Installs the packages that are missing.
need() { # PACKAGE...
  local absent sudo=()
  mapfile -t absent < <(missing "$@")
  ((${#absent[@]})) || return 0
  if ((EUID)); then
    sudo=(sudo)
    if ! command -v sudo >/dev/null || ! sudo -v; then
      say "Only root can install what is missing: ${absent[*]}"
      exit 1
    fi
  fi
  # Locks a file that every Debian has and anybody can read, so that only one checkout installs at a time.
  exec 8</etc/debian_version
  flock 8
  mapfile -t absent < <(missing "$@")
  if ((${#absent[@]})); then
    step "Reading the package lists" apt-update "${sudo[@]}" apt-get -q update
    step "Installing ${absent[*]}" apt-install "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get -q -y -o DPkg::Lock::Timeout=600 -o Dpkg::Use-Pty=0 install --no-install-recommends "${absent[@]}"
  fi
  exec 8<&-
}

# Database servers, none of which shall run but for our tests: ClickHouse's program is only unpacked, PostgreSQL is
# installed without a database, and DuckDB lies in the build.
need_engines() {
  local new=()
  need "${analysing[@]}"
  command -v npm >/dev/null || need npm
  mapfile -t new < <(missing postgresql-15)
  if ((${#new[@]})); then
    need postgresql-common
    as_root mkdir -p "$createcluster"
    as_root tee "$createcluster/vantra.conf" <<<'create_main_cluster = false' >/dev/null
    need postgresql-15
    as_root rm "$createcluster/vantra.conf"
  fi
  if [[ ! -x build/engines/usr/sbin/clickhouse-server ]]; then
    step "Unpacking ClickHouse" clickhouse bash -c \
      'mkdir -p build/engines && cd build/engines && apt-get -q download clickhouse-server && dpkg -x clickhouse*.deb .'
  fi
  if [[ analysis/duckdb/package-lock.json -nt build/duckdb/node_modules/.package-lock.json ]]; then
    mkdir -p build/duckdb
    cp analysis/duckdb/package*.json build/duckdb
    step "Installing DuckDB" duckdb npm ci --prefix build/duckdb
  fi
}
createcluster=/etc/postgresql-common/createcluster.d

as_root() { # COMMAND...
  if ((EUID)); then sudo "$@"; else "$@"; fi
}

missing() { # PACKAGE...
  local package
  for package; do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed* ]] || echo "$package"
  done
}

# Puts what the lock file in the folder names into build/npm/NAME.
npm_packages() { # NAME FOLDER NPM_ARGUMENT...
  local target=build/npm/$1
  if ! command -v npm >/dev/null; then need npm; fi
  if cmp -s "$2/package-lock.json" "$target/package-lock.json" && [[ -e $target/node_modules/.package-lock.json ]]; then
    return
  fi
  rm -rf "$target"
  mkdir -p "$target"
  cp "$2"/package*.json "$target"
  step "Fetching packages for $1" "npm-$1" npm --prefix "$target" ci --ignore-scripts --no-fund --no-audit "${@:3}"
}

# Node.js for Windows and what its example needs; packages for Windows have to be forced.
node_packages() { npm_packages node tests/package/node --force; }

site() {
  npm_packages site tools/site
  step "Building the site" site tools/site/build build/npm/site/node_modules
}

configure() { # PRESET
  [[ build/$1/build.ninja -nt CMakePresets.json ]] ||
    step "Configuring $1" "configure-$1" cmake --preset "$1"
}

build() { # PRESET BUILD_ARGUMENT...
  configure "$1"
  step "Building $1" "build-$1" cmake --build --preset "$1" "${@:2}"
}

# Creates a new prefix of this name, which cmake/wine-run uses for the rest of this run.
wine_prefix() { # NAME
  export VANTRA_PREFIX=$1
  wine_end
  rm -rf "build/wine/$1"
  trap wine_end EXIT
  step "Preparing Wine" wine cmake/wine-run cmd /c exit
  # Windows' services stay up while one program waits in the prefix; otherwise every test would start them.
  mkfifo "build/wine/$1/waiting"
  exec 7<>"build/wine/$1/waiting"
  cmake/wine-run cmd <&7 >/dev/null 2>&1 7>&- &
}

wine_end() {
  WINEPREFIX=$root/build/wine/$VANTRA_PREFIX /usr/lib/wine/wineserver64 -k 2>/dev/null || true
}

run_tests() { # PRESET CTEST_ARGUMENT...
  local preset=$1 log=$logs/test-$1.log status=0 bad unrun
  shift
  say "Testing $preset"
  VANTRA_HOLD_OUTPUT=1 ctest --test-dir "build/$preset" --output-on-failure "$@" 2>&1 </dev/null |
    tee "$log" || status=$?
  unrun=$(results "$log" '\*\*\*(Skipped|Not Run \(Disabled\))')
  bad=$(($(results "$log" '\*\*\*') - unrun))
  if ((status && !bad)); then
    say "Failed: ctest itself (all of it in $log)"
    bad=1
  fi
  passed=$((passed + $(results "$log" ' Passed ')))
  failed=$((failed + bad))
  skipped=$((skipped + unrun))
}

verdict() { # prints what run_tests has counted
  ((passed + failed)) || say "No test ran"
  echo "$passed passed, $failed failed, $skipped skipped"
  ((passed && !failed))
}

results() { # LOG PATTERN
  grep -cE "^ *[0-9]+/[0-9]+ Test +#[0-9]+: .*$2" "$1" || true
}
