# Plants small faults in a copy of this checkout, one at a time, and tells which of them no test notices. Part of
# ../../dev, whose functions it uses.

count=20 seed=$((RANDOM % 1000)) places=()
while (($#)); do
  case $1 in
    --count) count=${2:?N}; shift 2 ;;
    --seed) seed=${2:?N}; shift 2 ;;
    *) places+=("$1"); shift ;;
  esac
done
((${#places[@]})) || places=(src include/vantra/vantra.hpp tools)

# From fast to slow: NAME FILES PRESET COMMAND, where FILES says whose faults to try it on. Whatever takes longer than
# some minutes has failed.
suites=(
  'unit src/* sanitize build/sanitize/tests/unit/vantra_unit_tests --gtest_brief=1 --gtest_fail_fast'
  'fuzz src/* sanitize ctest --test-dir build/sanitize --stop-on-failure -j 2 -R ^fuzz'
  'host src/* release cmake/wine-run build/release/tests/vantra_host_test.exe --gtest_brief=1 --gtest_fail_fast'
  'examples include/* release ctest --test-dir build/release --stop-on-failure -R "^(example|header)"'
  'tools * release ctest --test-dir build/release --stop-on-failure -R "^(tools|deliver|Lock)"')

# Sets caught to the suite that notices what is in the copy now, to nothing when none does, to "-" when it does not
# compile.
judge() { # FILE
  local preset built=' '
  caught=-
  for preset in sanitize release; do
    cmake --build --preset $preset >"$logs/mutant-build.log" 2>&1 </dev/null || return 0
    grep -q 'no work to do' "$logs/mutant-build.log" || built+="$preset "
  done
  run_suites "$1" "$built"
}

run_suites() { # FILE PRESETS
  local suite files preset command
  for suite in "${suites[@]}"; do
    read -rd '' caught files preset command <<<"$suite" || true
    # shellcheck disable=SC2053 # FILES is a pattern
    [[ $2 == *" $preset "* && ($1 == $files || $1 == all) ]] || continue
    timeout 240 bash -c "$command" >"$logs/mutant-$caught.log" 2>&1 </dev/null || return 0
  done
  caught=
}

# Only what differs is copied, so that little is built again.
copy=$root/build/mutants
mkdir -p "$copy"
git ls-files -co --exclude-standard | while read -r file; do
  [[ ! -f $file ]] || cmp -s "$file" "$copy/$file" || cp --parents "$file" "$copy"
done
(cd "$copy" && find . -path ./build -prune -o -type f -print) | while read -r file; do
  [[ -e $file ]] || rm "$copy/$file"
done
mapfile -t faults < <(
  # FILE:LINE names one.
  mapfile -t files < <(git ls-files -- "${places[@]%:[0-9]*}" | grep -E '\.(cpp|hpp|h)$')
  awk -v seed="$seed" -f tests/mutants/plant.awk "${files[@]}" | sort -n | cut -f 2- |
    if [[ ${places[*]} == *:[0-9]* ]]; then grep -F "$(printf '%s\t\n' "${places[@]//:/$'\t'}")"; else cat; fi)
cd "$copy"
root=$copy logs=$copy/build/log
mkdir -p "$logs"
export VANTRA_HOLD_OUTPUT=1
for preset in sanitize release; do
  cmake --preset $preset -DVANTRA_WERROR=OFF >/dev/null
  build $preset
done
wine_prefix mutants
say "Testing without a fault"
run_suites all ' sanitize release '
[[ -z $caught ]] || { say "Failed: $caught (all of it in $logs/mutant-$caught.log)"; exit 1; }

planted=0 survivors=()
for fault in "${faults[@]}"; do
  ((planted < count)) || break
  IFS=$'\t' read -r file line text <<<"$fault"
  read -r old < <(sed -n "${line}p" "$file")
  read -r new <<<"$text"
  if grep -qxF -- "$file: $old -> $new" tests/mutants/equivalent; then continue; fi
  begin=$SECONDS
  cp "$file" build/unharmed
  LINE=$text awk -v line="$line" 'NR == line { $0 = ENVIRON["LINE"] } 1' build/unharmed >"$file"
  judge "$file"
  cp build/unharmed "$file"
  [[ $caught != - ]] || continue
  ((++planted))
  printf '%-9s %4d s  %s:%d: %s -> %s\n' "${caught:-SURVIVES}" $((SECONDS - begin)) "$file" "$line" "$old" "$new"
  [[ -n $caught ]] || survivors+=("./dev mutants --seed $seed $file:$line")
done
echo "$((planted - ${#survivors[@]})) of $planted caught, with --seed $seed"
((${#survivors[@]} == 0)) || printf 'Once more: %s\n' "${survivors[@]}"
