#!/bin/bash
# test.sh fails where anything fails: build, a test, the format of a source, a static check, a script.
# Usage: test_test.sh PROJECT
set -euo pipefail
# shellcheck source=tests/scripts/stage.sh
. "$(dirname "$0")/stage.sh"
export tested=test.sh
cp "$project/test.sh" "$project/.clang-format" "$stage/"
mkdir -p "$stage/tests/mutations" "$stage/filter" "$stage/.ci"
printf '// Well formatted.\nint main() { return 0; }\n' >"$stage/filter/a.cpp"
stand_in tools/setup.sh
stand_in tests/mutations/run.py
stand_in git 'exit 1' # the copy is no repository
stand_in cmake 'mkdir -p build-test' \
  'printf "[\n{\n  \"file\": \"%s\"\n}\n]\n" "$PWD/filter/a.cpp" >build-test/compile_commands.json'
for checker in ctest shellcheck; do stand_in "$checker"; done
version=$(sed -n 's/^clang_version=//p' "$project/test.sh")
formatter=$(command -v clang-format)
# version_of_checkers N: from now on clang's checkers are of that version. The one of formats works.
version_of_checkers() {
  local tell="[ \"\$1\" != --version ] || { echo 'LLVM version $1.0'; exit 0; }"
  stand_in clang-tidy "$tell"
  stand_in clang-format "$tell" "$(printf '%q' "$formatter") \"\$@\" || exit 1"
}
version_of_checkers "$version"

run 0
asked cmake "-DKESTRA_TESTS=ON"
asked cmake "-DKESTRA_WERROR=ON"
asked clang-tidy "$stage/filter/a.cpp"
for part in setup.sh cmake ctest clang-tidy shellcheck; do
  fails "$part"
  run 1
  fails "$part" 0
done
run 0
echo 'int  b( );' >>"$stage/filter/a.cpp"
run 1
version_of_checkers "1$version" # which may format otherwise
run 0
version_of_checkers "$version"

mkdir -p "$stage/tests/unit" "$stage/tests/tools"
touch "$stage/tests/unit/CMakeLists.txt" "$stage/tests/tools/CMakeLists.txt"
run 0 drawer unit tools
asked cmake "--target drawer_unit drawer_tools"
asked ctest "-L ^(unit|tools)$"
run 1 drawer units
idle ctest
fails ctest
run 1 drawer unit
fails ctest 0

run 0 mutate
fails run.py
run 1 mutate
run 2 no-such-verb
idle setup.sh
run 2 sanitize more
run 2 fuzz many
run 2 shapes wide
run 0 --help
idle cmake
