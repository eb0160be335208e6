# shellcheck shell=bash
#: wheel [--native]    build the Python package for Linux and Windows in dist/
#:                     (--native: for Linux only); run a model under Wine with
#:                     the package for Windows

folder=build/wheel
python=.deps/wheel/bin/python
notices=(libcli11-dev nlohmann-json3-dev libstb-dev libutfcpp-dev)

# pack SYSTEM BUILT STRIP FILE...: makes the wheel for SYSTEM in build/wheel/ with these files of the folder BUILT,
# which the program STRIP strips. The Debian packages in `notices` have the licences of the libraries in the files.
pack() {
    local wheel=$folder/$1 built=$2 file package
    run mkdir -p "$wheel/orvane/licenses"
    run cp -r python/{pyproject.toml,setup.py,README.md,orvane} "$wheel"
    run rm -rf "$wheel/orvane/__pycache__"
    projectVersion >"$wheel/VERSION"
    for package in "${notices[@]}"; do
        run cp "/usr/share/doc/$package/copyright" "$wheel/orvane/licenses/$package.txt"
    done
    for file in "${@:4}"; do
        run install -D -s --strip-program="$3" "$built/$file" "$wheel/orvane/$file"
    done
    run "$python" -m pip wheel --quiet --no-deps --no-build-isolation --wheel-dir $folder "$wheel"
}

wheelLinux() {
    run ./dev build wheel-linux
    run rm -rf $folder dist/*-py3-none-*linux*.whl
    pack linux build/wheel-linux strip bin/{orvane,orvane_host} lib/liborvane_c.so.0
    # auditwheel finds the oldest system that has the symbols of these files. OpenVINO is in another package.
    run env PATH="$PWD/.deps/wheel/bin:$PATH" "$python" -m auditwheel repair --exclude 'libopenvino.so.*' \
        --wheel-dir dist $folder/*linux_x86_64.whl
}

# Runs the program in the folder layout that pip creates: beside the package of OpenVINO.
wheelWindows() {
    local installed=$folder/installed
    notices+=(gcc-mingw-w64-base mingw-w64-common)
    run ./dev build package-windows
    pack windows build/package-windows x86_64-w64-mingw32-strip bin/{orvane,orvane_host}.exe bin/orvane_c.dll
    run rm -f dist/*win_amd64.whl
    run mv $folder/*win_amd64.whl dist
    run python3 -m zipfile -e dist/*win_amd64.whl $installed
    run head -c 2304 /dev/zero >$folder/input
    run head -c 1024 /dev/zero >$folder/state
    run mkdir $installed/openvino
    run ln -s "$PWD/.deps/windows/openvino/libs" $installed/openvino/libs
    run timeout 200 testing/win32/wine.sh $installed/orvane/bin/orvane.exe run --remote \
        .deps/material/silero_vad_openvino_16k.onnx --input 0=$folder/input --input 1=$folder/state
}

case "$*" in
    "") run ./dev setup wheel windows ;;
    --native) run ./dev setup wheel ;;
    *) misuse "wheel does not take \"$*\"" ;;
esac
wheelLinux
[ "$*" = --native ] || wheelWindows
ls -l dist/*.whl
