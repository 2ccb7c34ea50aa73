#!/usr/bin/env bash
# Format and lint gate: clang-format (dry run, violations are errors) over every C++ file of the
# tree, and clang-tidy (.clang-tidy) over the non-test sources of the library, the host
# platform, the service and the tools, in parallel.
#   scripts/lint.sh                  both
#   scripts/lint.sh --skip-format    clang-tidy only
#   scripts/lint.sh --skip-tidy      clang-format only
#   scripts/lint.sh FILE...          both, on these files only
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

format=1
tidy=1
files=()
for arg in "$@"; do
    case "$arg" in
        --skip-format) format=0 ;;
        --skip-tidy) tidy=0 ;;
        -*) echo "lint.sh: unknown option $arg" >&2; exit 2 ;;
        *) files+=("$arg") ;;
    esac
done

jobs=$(nproc)
status=0

if [[ $format == 1 ]]; then
    if [[ ${#files[@]} -gt 0 ]]; then
        format_files=("${files[@]}")
    else
        mapfile -t format_files < <(git ls-files '*.cpp' '*.cc' '*.h' '*.hpp')
    fi
    if ! printf '%s\0' "${format_files[@]}" |
        xargs -0 -P "$jobs" -n 16 clang-format --dry-run -Werror; then
        echo "lint.sh: files above are not formatted: run clang-format -i on them" >&2
        status=1
    fi
fi

if [[ $tidy == 1 ]]; then
    # A compile database of its own, without a compiler launcher that clang-tidy cannot read;
    # configuring is enough, nothing is built.
    build=build/lint
    cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
        -DCMAKE_CXX_COMPILER_LAUNCHER= -DCMAKE_C_COMPILER_LAUNCHER= \
        -DVPP_BUILD_TESTS=OFF -DVPP_BUILD_BENCH=OFF >/dev/null
    if [[ ${#files[@]} -gt 0 ]]; then
        mapfile -t tidy_files < <(printf '%s\n' "${files[@]}" | grep -E '\.(cpp|cc)$' || true)
    else
        mapfile -t tidy_files < <(git ls-files 'src/*.cpp' 'host/*.cpp' 'service/*.cpp' \
            'tools/*.cpp' | grep -vxF -f <(grep -v '^#' scripts/lint-pending.txt))
        pending=$(grep -cv '^#' scripts/lint-pending.txt || true)
        echo "lint.sh: clang-tidy on ${#tidy_files[@]} files, $pending pending (scripts/lint-pending.txt)"
    fi
    if [[ ${#tidy_files[@]} -gt 0 ]] &&
        ! printf '%s\0' "${tidy_files[@]}" |
        xargs -0 -P "$jobs" -n 1 clang-tidy -p "$build" --quiet 2>/dev/null; then
        echo "lint.sh: clang-tidy found the problems above" >&2
        status=1
    fi
fi

exit $status
