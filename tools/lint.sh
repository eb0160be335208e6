# shellcheck shell=bash
#: lint [--quick]      clang-format, shellcheck, each header alone; without --quick then the English of
#:                     the pages, clang-tidy over the sources of both systems, and whether Visual Studio's
#:                     compiler could read those for Windows
#: lint --deep         the same, and the analyzer follows every path, which takes 10 minutes more

# compileHeader HEADER: alone; a public one as C++17, and the C interface as C too.
compileHeader() {
    local compiler=g++ standard=c++20 runtime=.deps/openvino/include
    case $1 in
        include/*) standard=c++17 ;;
        *win32*) compiler=x86_64-w64-mingw32-g++-posix ;;
        *mingw/openvino*) runtime=backends/openvino/mingw ;;
    esac
    "$compiler" -std="$standard" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only \
        -I . -I include -isystem "$runtime" -include "$1" -x c++ /dev/null
    [ "${1##*/}" != orvane_c.h ] || gcc -std=c11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c "$1"
}

# tidy FOLDER PATTERN OPTION...: clang-tidy over the sources in FOLDER/compile_commands.json whose path matches, once for
# each. The path-sensitive analyzer takes a minute for one file of GoogleTest's macros, so tests are not analyzed. For
# all others together it would take four times as long as all other checks: without --deep it follows shorter paths.
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

# parseAsMsvc SOURCE: as Visual Studio's compiler reads it, as far as clang knows; that compiler is not here. In the place
# of its C++ library is libc++, in that of its C runtime MinGW's headers, for which some words of GCC are defined.
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
    # Everything for Linux. Configuring fails if a test source is in no target.
    run cmake --preset linux-bench -B build/lint -DBUILD_TESTING=ON
    run cmake --build build/lint --target bench_grpc
    # Leaves out generated sources, and the one that only holds another project's code.
    tidy build/lint "^$PWD/(?!build/|.*stb_implementation)"
    # What only Windows compiles, with MinGW's headers.
    run cmake --preset windows-mingw -B build/lint-windows -DCMAKE_UNITY_BUILD=OFF
    headers=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
    tidy build/lint-windows "^$PWD/(?!build/).*(win32|mingw).*\.cpp$" --extra-arg-before=--target=x86_64-w64-mingw32 \
        --extra-arg=-isystem"$headers" --extra-arg=-isystem"$headers/x86_64-w64-mingw32"
    # The product's sources for Windows, without MinGW's facade of the runtime, one source that uses a function which this
    # libc++ does not have yet, and one that only holds another project's code.
    export -f parseAsMsvc
    llvm=$(dirname "$(dirname "$(readlink -f "$(command -v clang++)")")")
    export llvm
    sources | grep -E '\.cpp$' | grep -vE '_test(_support)?\.cpp$|/posix/|posix_|mingw|^(testing|fuzz|bench)/' |
        grep -vE 'decode_output_stream_buf|stb_implementation' |
        run xargs -P "$(nproc)" -I SOURCE bash -c 'parseAsMsvc SOURCE'
}

case "$*" in
    "" | --deep)
        deep=$*
        run ./dev setup lint
        lintQuickly
        run .deps/prose/bin/python tools/check_prose.py README.md CONTRIBUTING.md CHANGELOG.md python/README.md docs/*.md
        lintThoroughly
        ;;
    --quick)
        run ./dev setup windows format
        lintQuickly
        ;;
    *) misuse "lint does not take \"$*\"" ;;
esac
