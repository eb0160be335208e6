# shellcheck shell=bash
#: lint --quick        run clang-format and shellcheck, and compile each header
#:                     alone
#: lint                the same; also check the English of pages and comments,
#:                     run clang-tidy over all sources, and parse the sources
#:                     for Windows as Visual Studio's compiler does
#: lint --deep         the same, but clang-tidy follows every path; takes 10
#:                     minutes more

# compileHeader HEADER: compiles it alone, a public header as C++17, the C interface also as C. Joins its commands,
# because `bash -c` does not stop at a command that fails.
compileHeader() {
    local compiler=g++ standard=c++20 runtime=.deps/openvino/include
    case $1 in
        include/*) standard=c++17 ;;
        *win32*) compiler=x86_64-w64-mingw32-g++-posix ;;
        *mingw/openvino*) runtime=backends/openvino/mingw ;;
    esac
    "$compiler" -std="$standard" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only \
        -I . -I include -isystem "$runtime" -include "$1" -x c++ /dev/null &&
        { [ "${1##*/}" != orvane_c.h ] || gcc -std=c11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c "$1"; }
}

# tidy FOLDER PATTERN OPTION...: runs clang-tidy once on each source in FOLDER/compile_commands.json whose path matches.
# Leaves out the path-sensitive analyzer for tests: GoogleTest's macros make it take a minute for each file. For the
# other sources it takes four times as long as all other checks, so without --deep it follows shorter paths.
tidy() {
    local tool=(.deps/lint/clang_tidy/data/bin/clang-tidy -quiet -p "$1/tidy" "${@:3}")
    local once='import json, sys
commands = {command["file"]: command for command in json.load(open(sys.argv[1]))}
json.dump(list(commands.values()), open(sys.argv[2], "w"))
print("\n".join(commands))'
    local listed analyzer=(--extra-arg={-Xclang,-analyzer-config,-Xclang,mode=shallow})
    [ -z "$deep" ] || analyzer=()
    mkdir -p "$1/tidy"
    listed=$(python3 -c "$once" "$1/compile_commands.json" "$1/tidy/compile_commands.json" | grep -P "$2" | sort)
    grep -vE '/testing/|_test(_support)?\.c(pp)?$' <<<"$listed" | run xargs -P "$(nproc)" -n 1 "${tool[@]}" "${analyzer[@]}"
    grep -E '/testing/|_test(_support)?\.c(pp)?$' <<<"$listed" |
        run xargs -P "$(nproc)" -n 1 "${tool[@]}" '-checks=-clang-analyzer-*'
}

# parseAsMsvc SOURCE: parses it as Visual Studio's compiler does, as far as clang can. libc++ replaces that compiler's
# C++ library. MinGW's headers replace its C runtime; they need some definitions of GCC.
parseAsMsvc() {
    local build=()
    [[ $1 != sdk/c/* ]] || build=(-DORVANE_C_BUILD)
    clang++ --target=x86_64-pc-windows-msvc19.38 -fms-compatibility -fms-extensions -std=c++20 -fsyntax-only -Wmicrosoft \
        -Werror -nostdinc -isystem "$llvm/include/c++/v1" -isystem "$(clang -print-resource-dir)/include" \
        -isystem /usr/x86_64-w64-mingw32/include -isystem .deps/windows/include -isystem .deps/windows/include/stb \
        -isystem .deps/windows/openvino/include \
        -D_UCRT -D_WIN32_WINNT=0x0A00 -DNOMINMAX -D_LIBCPP_NO_VCRUNTIME -D_CRT_CONST_CORRECT_OVERLOADS \
        -D_LIBCPP_HAS_NO_C11_ALIGNED_ALLOC -D__GNUC__=4 -D__GNUC_MINOR__=2 -D_strtof_l=_strtod_l -D_strtold_l=_strtod_l \
        "${build[@]}" -I . -I include "$1"
}

lintQuickly() {
    sources | run xargs clang-format --dry-run -Werror
    run shellcheck dev tools/*.sh .ci/run testing/win32/wine.sh
    export -f compileHeader
    sources | grep -E '\.(h|hpp)$' | run xargs -P "$(nproc)" -I HEADER bash -c 'compileHeader HEADER'
}

lintThoroughly() {
    local headers llvm
    # All sources for Linux. CMake fails if a test source is in no target.
    run cmake --preset linux-bench -B build/lint -DBUILD_TESTING=ON
    run cmake --build build/lint --target bench_grpc
    # Leaves out generated sources, and the source that only contains another project's code.
    tidy build/lint "^\Q$PWD\E/(?!build/|.*stb_implementation)"
    # The sources that only Windows compiles, with MinGW's headers.
    run cmake --preset windows-mingw -B build/lint-windows -DCMAKE_UNITY_BUILD=OFF
    headers=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
    tidy build/lint-windows "^\Q$PWD\E/(?!build/).*(win32|mingw).*\.cpp$" --extra-arg-before=--target=x86_64-w64-mingw32 \
        --extra-arg=-isystem"$headers" --extra-arg=-isystem"$headers/x86_64-w64-mingw32"
    # The product's sources for Windows. Leaves out MinGW's facade of the runtime, a source that needs a function that
    # this libc++ does not have, a source whose <intrin.h> conflicts with MinGW's <setjmp.h>, and the source that only
    # contains another project's code.
    export -f parseAsMsvc
    llvm=$(dirname "$(dirname "$(readlink -f "$(command -v clang++)")")")
    export llvm
    sources | grep -E '\.cpp$' | grep -vE '_test(_support)?\.cpp$|/posix/|posix_|mingw|^(testing|fuzz|bench)/' |
        grep -vE 'copy_data|decode_output_stream_buf|stb_implementation' |
        run xargs -P "$(nproc)" -I SOURCE bash -c 'parseAsMsvc SOURCE'
}

case "$*" in
    "" | --deep)
        deep=$*
        run ./dev setup lint
        lintQuickly
        { git ls-files '*.md' '*.cs' '*.py' '*.sh' '*.cmake' '*CMakeLists.txt' && sources; } | grep -v tools/check_prose.py |
            run xargs .deps/prose/bin/python tools/check_prose.py
        lintThoroughly
        ;;
    --quick)
        run ./dev setup windows format
        lintQuickly
        ;;
    *) misuse "lint does not take \"$*\"" ;;
esac
