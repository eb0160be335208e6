# shellcheck shell=bash
#: test                build and run all tests: of C++ and C, of the backend over
#:                     OpenVINO's C interface, of Python, and of the Windows
#:                     programs under Wine
#: test NAME [PRESET]  build and run only the tests whose names match this
#:                     regular expression
#: test --native       run all tests except those of the Windows programs
#: test --python       build and install the Python package, and run its tests
#: test --public       the same, with all operator cases of ONNX instead of 150;
#:                     takes 6 minutes more
#: test --sanitize     run the C++ and C tests with the address,
#:                     undefined-behaviour and thread sanitizers

results=$PWD/build/test-results
suites=()  # NAME:STATUS of each suite that has run

# suite NAME FUNCTION ARGUMENT...: runs a suite. If it fails, the other suites still run.
suite() {
    local status=0
    rm -f "$results/$1.xml"
    "${@:2}" || status=$?
    suites+=("$1:$status")
}

# Bash does not stop such a function at a command that fails, so these functions join their commands with `&&`.
testPreset() {
    run ./dev build "$1" &&
        run ctest --preset "$1" --output-junit "$results/$1.xml" "${@:2}"
}

# Installs the wheel into the environment with the tests' dependencies.
installWheel() {
    run ./dev wheel --native &&
        run .deps/python/bin/python -m pip install --quiet --force-reinstall --no-deps dist/*-py3-none-*linux*.whl
}

# checkTypes FOLDER WHAT...: checks the types of the Python code in FOLDER.
checkTypes() {
    local project=$PWD
    (cd "$1" && run "$project/.deps/python/bin/python" -m mypy --config-file "$project/python/pyproject.toml" "${@:2}")
}

# Uses the wheel as a user does, in an empty environment: pip must install its dependencies.
tryWheel() {
    local python=build/python/bin/python material=.deps/material
    local model=$material/face_detection_short_range.tflite
    run rm -rf build/python &&
        run python3 -m venv build/python &&
        run "$python" -m pip install --quiet dist/*-py3-none-*linux*.whl pillow &&
        run timeout 200 "$python" examples/python/face.py "$model" "$material/astronaut.png" --host &&
        run timeout 200 "${python%/*}/orvane" info --remote "$model"
}

testPython() {
    installWheel && tryWheel &&
        checkTypes python -p orvane &&
        checkTypes examples/ocr ocr.py page.py test_ocr.py &&
        checkTypes examples/cluster faces.py test_faces.py &&
        checkTypes examples/python face.py &&
        runPytest python/tests examples "$@"
}

runPytest() {
    run .deps/python/bin/python -m pytest "$@" --junit-xml "$results/python.xml"
}

# testNamed NAME PRESET
testNamed() {
    local targets
    run cmake --preset "$2" >/dev/null &&
        targets=$(python3 tools/find_tests.py cmake "build/$2" "$1") || return
    if [ -z "$targets" ]; then
        [ ${#inPython[@]} -ne 0 ] ||
            printf './dev: no test has a name such as "%s"; names look like ErrorStatus.ReplacesAnEmptyMessageAfterLoggingIt\n' "$1" >&2
        return 0
    fi
    # shellcheck disable=SC2086 # each target is one word
    run cmake --build "build/$2" --target $targets &&
        run ctest --preset "$2" --output-junit "$results/$2.xml" --tests-regex "$1"
}

# testNamedInPython TEST...: the names of the tests are those of pytest.
testNamedInPython() {
    run ./dev setup test && installWheel && runPytest "$@"
}

mkdir -p "$results"
case "$*" in
    "" | --native)
        run ./dev setup test
        [ "$*" = --native ] || run ./dev setup windows
        suite linux testPreset linux
        suite linux-c-interface testPreset linux-c-interface
        suite python testPython
        [ "$*" = --native ] || suite windows-mingw testPreset windows-mingw
        ;;
    --python)
        run ./dev setup test
        suite python testPython
        ;;
    --public)
        run ./dev setup test
        suite python testPython --public
        ;;
    --sanitize)
        run ./dev setup test
        suite linux-asan testPreset linux-asan
        suite linux-tsan testPreset linux-tsan
        ;;
    -* | *" "*" "*) misuse "test does not take \"$*\"" ;;
    *)
        setupPreset "${2:-linux}"
        mapfile -t inPython < <(python3 tools/find_tests.py python "$1")
        suite "${2:-linux}" testNamed "$1" "${2:-linux}"
        [ ${#inPython[@]} -eq 0 ] || [ -n "${2:-}" ] || suite python testNamedInPython "${inPython[@]}"
        ;;
esac
python3 tools/test_summary.py "$results" "${suites[@]}"
