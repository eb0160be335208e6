# shellcheck shell=bash
#: package [--native]  pack archives of the SDK with OpenVINO for Linux and
#:                     Windows in dist/ (--native: for Linux only); unpack each
#:                     archive, run a model, and build and run programs with it

folder=build/package
model=.deps/material/silero_vad_openvino_16k.onnx

# runModel ORVANE...: runs a model in a host process with the command line of an unpacked archive.
runModel() {
    run timeout 200 "$@" run --remote "$model" --input 0=$folder/input --input 1=$folder/state
}

# buildAgainst ARCHIVE NAME OPTION...: builds copies of the archive's examples with the archive, and also a project that
# links the static library.
buildAgainst() {
    local archive=$PWD/$1 projects=$folder/$2 source
    run mkdir "$projects"
    run cp -r "$archive/examples/minimal" testing/consumer "$projects"
    for source in minimal consumer; do
        run cmake -G Ninja -S "$projects/$source" -B "$projects/$source/build" -DCMAKE_PREFIX_PATH="$archive" "${@:3}"
        run cmake --build "$projects/$source/build"
    done
}

packageLinux() {
    local unpacked program flags
    unpacked=$folder/orvane-$(projectVersion)-linux-x64
    run ./dev build package-linux
    run cpack --preset package-linux
    run tar -xzf "dist/${unpacked##*/}.tar.gz" -C "$folder"
    runModel "$unpacked/bin/orvane"
    buildAgainst "$unpacked" gcc -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++
    buildAgainst "$unpacked" clang -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
    read -ra flags < <(PKG_CONFIG_PATH=$PWD/$unpacked/lib/pkgconfig pkg-config --cflags --libs orvane)
    run gcc "$unpacked/examples/minimal/main.c" -o "$folder/by_pkg_config" "${flags[@]}"
    for program in {gcc,clang}/{minimal/build/minimal_{c,cpp},consumer/build/consumer} by_pkg_config; do
        run timeout 200 "$folder/$program" "$model"
    done
}

packageWindows() {
    local unpacked program
    unpacked=$folder/orvane-$(projectVersion)-windows-x64
    run ./dev build package-windows
    run cpack --preset package-windows
    run python3 -m zipfile -e "dist/${unpacked##*/}.zip" "$folder"
    runModel testing/win32/wine.sh "$unpacked/bin/orvane.exe"
    buildAgainst "$unpacked" mingw -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_EXE_LINKER_FLAGS=-static \
        -DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++-posix
    for program in mingw/{minimal/build/minimal_{c,cpp},consumer/build/consumer}; do
        run env WINEPATH="$unpacked/bin" timeout 200 testing/win32/wine.sh "$folder/$program.exe" "$model"
    done
}

case "$*" in
    "") run ./dev setup package windows ;;
    --native) run ./dev setup package ;;
    *) misuse "package does not take \"$*\"" ;;
esac
run rm -rf $folder
run mkdir -p $folder
run head -c 2304 /dev/zero >$folder/input
run head -c 1024 /dev/zero >$folder/state
packageLinux
[ "$*" = --native ] || packageWindows
run rm -rf dist/_CPack_Packages
ls -l dist
