# shellcheck shell=bash
# Installs and downloads the dependencies of the chores.
#: setup [NEED ...]    install missing Debian packages, and download OpenVINO and
#:                     the test material to .deps/; each chore does this itself
#:                     for what it needs; NEED is one of: windows, ocr, python,
#:                     wheel, dotnet, docs, bench, package, models, test, format,
#:                     lint, coverage, mutate

buildPackages=(
    g++ cmake ninja-build ccache                  # build
    libutfcpp-dev                                 # C interface
    libcli11-dev nlohmann-json3-dev libstb-dev    # command line and example
    libgtest-dev libgmock-dev                     # tests
    clang libclang-rt-14-dev                      # sanitizers
    python3 python3-pip                           # downloads
)
windowsPackages=(
    g++-mingw-w64-x86-64-posix    # build
    googletest                    # tests; these are its sources
    wine64                        # runs the tests
    clang lld llvm libc++-dev     # import libraries; reads the sources as Visual Studio's compiler does
)
benchPackages=(
    libbenchmark-dev                                                                   # measures
    libgrpc++-dev libprotobuf-dev protobuf-compiler protobuf-compiler-grpc pkg-config  # compared: gRPC
    libzmq3-dev                                                                        # compared: ZeroMQ
)

dotnetPackages=(
    mono-mcs mono-xbuild nuget mono-runtime           # build
    libmono-system-windows-forms4.0-cil libgdiplus    # examples/desktop
    xvfb xdotool imagemagick                          # the test of examples/desktop
)

# installPackages NAME...: installs missing Debian packages.
installPackages() {
    command -v dpkg-query >/dev/null || fail "cannot install packages: this is not Debian; install the equivalents of: $*"
    local installed missing=() package
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qFx "installed $package" <<<"$installed" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local asRoot=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null || { ! sudo -n true 2>/dev/null && [ ! -t 0 ]; }; then
            fail "packages are missing, and you have no sudo; as root, run: apt-get install ${missing[*]}"
        fi
        asRoot=(sudo)
    fi
    local wait=(-o DPkg::Lock::Timeout=600)  # seconds; another program may install packages now
    updateLists "${asRoot[@]}" apt-get "${wait[@]}" update -qq
    printf './dev: installing %s Debian packages: %s\n' "${#missing[@]}" \
        "$(LC_ALL=C apt-get --assume-no install --no-install-recommends "${missing[@]}" 2>&1 | grep '^Need to get')" >&2
    run "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "${wait[@]}" install -y -qq \
        --no-install-recommends "${missing[@]}"
}

# updateLists COMMAND...: waits while another program updates the package lists. apt-get has no option for this.
updateLists() {
    local complaint seconds=0
    printf '+ %s\n' "$*" >&2
    until complaint=$("$@" 2>&1); do
        [[ $complaint == */lists/lock* && $seconds -lt 600 ]] || fail "$complaint"
        sleep 5
        seconds=$((seconds + 5))
    done
}

# A folder in .deps/ has a stamp: the hash of the lists that name its content. Setup unpacks files into another folder,
# moves them, and writes the stamp last, so you can run an interrupted setup again. A changed comment keeps the hash.
hashOf() {
    grep -hv '^#' "$@" | sha256sum | head -c 64
}

# complete FOLDER LIST...: succeeds if FOLDER has the content of these lists.
complete() {
    [ "$(head -c 64 "$1/stamp" 2>/dev/null)" = "$(hashOf "${@:2}")" ]
}

# finish FOLDER LIST...: writes the stamp.
finish() {
    hashOf "${@:2}" >"$1/stamp"
}

# announceDownload MEGABYTES FOLDER
announceDownload() {
    printf './dev: downloading %s MB from PyPI to %s\n' "$1" "$2" >&2
}

# downloadWheels FOLDER LIST MEGABYTES PLATFORM...: downloads the wheels in LIST and unpacks them into FOLDER/unpacked.
downloadWheels() {
    local folder=$1 list=$2 wheels wheel platforms
    wheels=$folder/wheels-$(hashOf "$list" | head -c 12)
    platforms=("${@:4}")
    announceDownload "$3" "$folder"
    run python3 -m pip download --quiet --dest "$wheels" --requirement "$list" --require-hashes --no-deps \
        --only-binary=:all: --implementation cp --python-version 3.11 --abi cp311 "${platforms[@]/#/--platform=}"
    run rm -rf "$folder/stamp" "$folder/unpacked"
    for wheel in "$wheels"/*.whl; do
        run python3 -m zipfile -e "$wheel" "$folder/unpacked"
    done
    run rm -rf "$folder"/wheels-*
}

# placeOpenvino FOLDER: moves the runtime and its licences from FOLDER/unpacked to FOLDER/openvino.
placeOpenvino() {
    run rm -rf "$1/openvino"
    run mv "$1"/unpacked/openvino-*.dist-info/licenses "$1/unpacked/openvino"
    run mv "$1/unpacked/openvino" "$1"
}

# environment FOLDER MEGABYTES LIST...: creates a Python environment in FOLDER with the packages in the lists.
environment() {
    local requirements=("${@:3}")
    complete "$1" "${requirements[@]}" && return
    run rm -rf "$1"
    announceDownload "$2" "$1"
    run python3 -m venv "$1"
    run "$1/bin/python" -m pip install --quiet --require-hashes --no-deps "${requirements[@]/#/--requirement=}"
    finish "$1" "${requirements[@]}"
}

setup_build() {
    local list=tools/deps/runtime.txt unpacked=.deps/unpacked
    installPackages "${buildPackages[@]}"
    complete .deps "$list" && return
    downloadWheels .deps "$list" 116 manylinux_2_28_x86_64 manylinux2014_x86_64
    placeOpenvino .deps
    run mkdir "$unpacked/material"
    run cp "$unpacked"/mediapipe/modules/face_detection/face_detection_short_range.tflite \
        "$unpacked"/mediapipe/modules/pose_landmark/pose_landmark_full.tflite \
        "$unpacked"/mediapipe/modules/selfie_segmentation/selfie_segmentation.tflite \
        "$unpacked"/skimage/data/{astronaut,coffee}.png \
        "$unpacked"/silero_vad/data/silero_vad_openvino_16k.onnx "$unpacked/material"
    run rm -rf .deps/material
    run mv "$unpacked/material" .deps
    run rm -rf "$unpacked"
    finish .deps "$list"
}

# Copies the few headers that a cross build needs, because it must not use this system's include folder.
setup_windows() {
    local folder=.deps/windows list=tools/deps/windows.txt
    local headers=(/usr/include/{CLI,nlohmann,stb,utf8cpp}) packages=(/usr/share/cmake/{CLI11,nlohmann_json})
    local copied="${headers[*]} ${packages[*]}"
    setup_build
    installPackages "${windowsPackages[@]}"
    if [ "$(cat "$folder/include/complete" 2>/dev/null)" != "$copied" ]; then
        run rm -rf "$folder/include" "$folder/share"
        run mkdir -p "$folder/include" "$folder/share/cmake"
        run cp -r "${headers[@]}" "$folder/include"
        run cp -r "${packages[@]}" "$folder/share/cmake"
        printf '%s\n' "$copied" >"$folder/include/complete"
    fi
    complete "$folder" "$list" && return
    downloadWheels "$folder" "$list" 82 win_amd64
    placeOpenvino "$folder"
    run rm -rf "$folder/unpacked"
    finish "$folder" "$list"
}

# The models of examples/ocr, and a scanned page.
setup_ocr() {
    local folder=.deps/ocr list=examples/ocr/models.txt models
    installPackages "${buildPackages[@]}"
    complete "$folder" "$list" && return
    downloadWheels "$folder" "$list" 29 manylinux2014_x86_64
    models=$folder/unpacked/rapidocr_onnxruntime/models
    run mv "$models/ch_PP-OCRv4_det_infer.onnx" "$folder/detection.onnx"
    run mv "$models/ch_ppocr_mobile_v2.0_cls_infer.onnx" "$folder/orientation.onnx"
    run mv "$models/ch_PP-OCRv4_rec_infer.onnx" "$folder/recognition.onnx"
    run mv "$folder/unpacked/skimage/data/page.png" "$folder"
    run rm -rf "$folder/unpacked"
    finish "$folder" "$list"
}

# The tools that build the Python package.
setup_wheel() {
    setup_build
    installPackages python3-venv
    environment .deps/wheel 2 tools/deps/wheel.txt
}

# The packages that test the Python package, and those that its examples need.
setup_python() {
    setup_wheel
    environment .deps/python 254 tools/deps/python.txt examples/{ocr,cluster}/requirements.txt
}

setup_docs() {
    installPackages doxygen python3-venv chromium
    environment .deps/docs 28 tools/deps/docs.txt
}

setup_bench() {
    setup_build
    installPackages "${benchPackages[@]}"
}

setup_package() {
    setup_build
    installPackages pkg-config
}

# The .NET runtimes that test the C# package. The one for Linux also has the public key of .NET Standard.
setup_dotnet() {
    local folder=.deps/dotnet list=tools/deps/dotnet.txt system platform
    setup_package
    installPackages "${dotnetPackages[@]}"
    complete "$folder" "$list" && return
    for system in linux windows; do
        platform=manylinux1_x86_64
        [ $system = linux ] || platform=win_amd64
        downloadWheels "$folder/$system" "$list" 31 "$platform"
        run rm -rf "$folder/$system/dotnetcore2"
        run mv "$folder/$system/unpacked/dotnetcore2" "$folder/$system"
        run rm -rf "$folder/$system/unpacked"
    done
    run chmod +x "$folder/linux/dotnetcore2/bin/dotnet"
    finish "$folder" "$list"
}

# `./dev models` uses the models in the folder with the unpacked wheels.
setup_models() {
    local folder=.deps/models list=tools/deps/models.txt
    setup_build
    complete "$folder" "$list" && return
    downloadWheels "$folder" "$list" 128 manylinux_2_28_x86_64 manylinux2014_x86_64
    finish "$folder" "$list"
}

setup_format() {
    installPackages clang-format shellcheck
}

setup_lint() {
    local folder=.deps/lint list=tools/deps/lint.txt
    setup_windows
    setup_bench
    setup_format
    installPackages python3-venv
    environment .deps/prose 2 tools/deps/prose.txt
    complete "$folder" "$list" && return
    downloadWheels "$folder" "$list" 43 manylinux_2_28_x86_64
    run rm -rf "$folder/clang_tidy"
    run mv "$folder/unpacked/clang_tidy" "$folder"
    run chmod +x "$folder/clang_tidy/data/bin/clang-tidy"
    run rm -rf "$folder/unpacked"
    finish "$folder" "$list"
}

setup_test() {
    setup_build
    setup_python
    setup_ocr
    installPackages chromium zsh fish groff-base  # to test the page of figures, the completions and the manual
}

setup_mutate() {
    setup_build
    installPackages python3-venv patch
    environment .deps/mutate 1 tools/deps/mutate.txt
}

setup_coverage() {
    setup_build
    installPackages gcovr
}

for need in "${@:-build}"; do
    declare -F "setup_$need" >/dev/null || misuse "setup does not know \"$need\""
    "setup_$need"
done
