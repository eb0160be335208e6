# shellcheck shell=bash
#: demo [--windows]    find the face in a real picture, in its own process and in
#:                     a host process, then crash the host process; --windows: do
#:                     this with Windows programs under Wine

material=.deps/material
model=$material/face_detection_short_range.tflite

# findFace FOLDER SUFFIX PICTURE COMMAND...: COMMAND runs the programs in FOLDER, whose names end with SUFFIX. They
# write PICTURE.png and PICTURE-host.png with the box, which must be the same.
findFace() {
    local folder=$1 suffix=$2 picture=$3 command=("${@:4}")
    run "${command[@]}" "$folder/face_detection$suffix" "$model" "$material/astronaut.png" "$picture.png"
    run "${command[@]}" "$folder/face_detection$suffix" "$model" "$material/coffee.png"
    echo "The same in a host process:"
    run "${command[@]}" "$folder/face_detection$suffix" "$model" "$material/astronaut.png" "$picture-host.png" \
        "$folder/orvane_host$suffix"
    run cmp "$picture.png" "$picture-host.png"
    echo "The host process crashes during a call:"
    run "${command[@]}" "$folder/host_recovery$suffix" --crash "$model"
    echo "The box is drawn in $picture.png"
}

programs=(face_detection host_recovery orvane_host)
case "$*" in
    "")
        run ./dev build linux "${programs[@]}"
        findFace build/linux/bin "" build/astronaut-face
        ;;
    --windows)
        run ./dev build linux "${programs[@]}"
        run ./dev build windows-mingw "${programs[@]}"
        findFace build/windows-mingw/bin .exe build/astronaut-face-windows testing/win32/wine.sh
        echo "The same as on Linux:"
        run testing/win32/wine.sh --native build/linux/bin/face_detection "$model" "$material/astronaut.png" \
            build/astronaut-face.png
        run cmp build/astronaut-face-windows.png build/astronaut-face.png
        ;;
    *) misuse "demo does not take \"$*\"" ;;
esac
