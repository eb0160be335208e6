# shellcheck shell=bash
#: dotnet [--native]   build the C# package for Windows and Linux in dist/
#:                     (--native: for Linux only); test it and examples/desktop
#:                     on Mono, and test it on .NET and on Windows' .NET under
#:                     Wine

folder=build/dotnet
reference=$folder/reference
runtimes=.deps/dotnet
compile=(mcs -langversion:latest -warnaserror -optimize)

# compileLibrary FRAMEWORK VERSION [OPTION...]: makes lib/FRAMEWORK/Orvane.dll, which refers only to `netstandard`.
compileLibrary() {
    local framework=$1 facade=$reference/$1/netstandard.dll sources
    mapfile -t sources < <(find dotnet/src -name '*.cs' | sort)
    run mkdir -p "$reference/$framework" "$folder/lib/$framework"
    run "${compile[@]}" "${@:3}" -target:library -nostdlib -noconfig -unsafe -delaysign+ \
        -keyfile:$reference/netstandard.snk -out:"$facade" dotnet/reference/*.cs
    cat >"$reference/$framework/Assembly.cs" <<TEXT
[assembly: System.Reflection.AssemblyTitle("Orvane")]
[assembly: System.Reflection.AssemblyProduct("Orvane")]
[assembly: System.Reflection.AssemblyVersion("$(projectVersion).0")]
[assembly: System.Reflection.AssemblyInformationalVersion("$(projectVersion)")]
[assembly: System.Runtime.Versioning.TargetFramework(".NETStandard,Version=v$2")]
TEXT
    run "${compile[@]}" "${@:3}" -target:library -nostdlib -noconfig -unsafe -r:"$facade" \
        -doc:"$folder/lib/$framework/Orvane.xml" -out:"$folder/lib/$framework/Orvane.dll" \
        "$reference/$framework/Assembly.cs" "${sources[@]}"
}

# makePackage SYSTEM...: makes the package, and installs it with NuGet.
makePackage() {
    local system
    for system in "$@"; do
        run ./dev build "package-$system"
        run cmake --install "build/package-$system" --strip --prefix "$folder/$system"
    done
    run mkdir -p $reference
    run python3 dotnet/reference/forwards.py "$(echo $runtimes/linux/dotnetcore2/bin/shared/*/*/netstandard.dll)" $reference
    compileLibrary netstandard2.0 2.0
    compileLibrary netstandard2.1 2.1 -define:NETSTANDARD2_1
    run rm -f dist/Orvane.*.nupkg
    run mkdir -p dist
    run python3 dotnet/pack.py "$(projectVersion)" $folder "dist/Orvane.$(projectVersion).nupkg"
    # Debian's Mono has no `netstandard`; other builds of Mono have it.
    run mcs -target:library -delaysign+ -keyfile:$reference/netstandard.snk -out:$folder/netstandard.dll $reference/forwards.cs
    run nuget install Orvane -Source "$PWD/dist" -OutputDirectory $folder/packages -NonInteractive
}

# testOnMono [--native]: tests a program for .NET Framework. xbuild and Orvane.targets put all its files into one
# folder.
testOnMono() {
    local app=$folder/mono
    run mkdir -p $app/files
    run xbuild /nologo /verbosity:quiet /p:MonoFolder=/usr/lib/mono/4.5 "/p:NetstandardFolder=$PWD/$folder" \
        "/p:PackageFolder=$PWD/$package" "/p:OutputPath=$PWD/$app/" dotnet/tests/OrvaneTest.csproj
    [ "$1" = --native ] || run test -f $app/orvane_c.dll -a -f $app/openvino.dll -a -f $app/orvane_host.exe
    run cp "$package"/runtimes/linux-x64/native/* $app
    run chmod -x $app/orvane_host
    run timeout 120 mono $app/OrvaneTest.exe "$model" $app/files
    # Without the native files, the message of the exception must name Microsoft's C++ runtime.
    run mkdir -p $app/bare/files
    run cp $app/{OrvaneTest.exe,Orvane.dll,netstandard.dll} $app/bare
    [[ $(timeout 60 mono $app/bare/OrvaneTest.exe "$model" $app/bare/files ShapesAreSet) == *vc_redist.x64.exe* ]] ||
        fail "without the native files, the exception does not name vc_redist.x64.exe"
}

# testOnNet SYSTEM DOTNET...: tests a program on the .NET for SYSTEM, which DOTNET starts. The program is compiled
# against the assemblies of that .NET.
testOnNet() {
    local app=$folder/$1 shared
    shared=$(echo $runtimes/linux/dotnetcore2/bin/shared/Microsoft.NETCore.App/*)
    run mkdir -p "$app/files"
    run python3 dotnet/tests/place.py "$package" "$1" "$app/OrvaneTest.dll"
    run "${compile[@]}" -nowarn:1702 -nostdlib -noconfig -lib:"$shared" -r:System.Private.CoreLib.dll,System.Runtime.dll -r:System.Linq.dll \
        -r:System.Diagnostics.Process.dll,Microsoft.Win32.Primitives.dll,System.ComponentModel.Primitives.dll \
        -r:System.Runtime.Extensions.dll,System.Console.dll,System.IO.FileSystem.dll,System.Collections.dll,netstandard.dll \
        -r:"$app/Orvane.dll" -out:"$app/OrvaneTest.dll" dotnet/tests/*.cs
    run timeout 200 "${@:2}" exec "$app/OrvaneTest.dll" "$model" "$app/files"
}

# Tests examples/desktop: presses its buttons.
testDesktop() {
    local app=$folder/desktop material=.deps/material
    run mkdir $app
    run ln $folder/netstandard.dll "$package/lib/netstandard2.0/Orvane.dll" "$package"/runtimes/linux-x64/native/* $app
    run "${compile[@]}" -target:winexe -r:System.Windows.Forms,System.Drawing -r:$app/Orvane.dll -r:$app/netstandard.dll \
        -out:$app/FaceFinder.exe examples/desktop/FaceFinder.cs
    run timeout 120 xvfb-run -a -s "-screen 0 800x800x24" python3 examples/desktop/face_finder_test.py $app/found.png \
        mono $app/FaceFinder.exe $material/face_detection_short_range.tflite $material/astronaut.png
}

case "$*" in
    "") run ./dev setup dotnet windows ;;
    --native) run ./dev setup dotnet ;;
    *) misuse "dotnet does not take \"$*\"" ;;
esac
model=.deps/material/silero_vad_openvino_16k.onnx
package=$folder/packages/Orvane.$(projectVersion)
run rm -rf $folder
if [ "$*" = --native ]; then
    makePackage linux
else
    makePackage linux windows
fi
testOnMono "$*"
testDesktop
testOnNet linux-x64 $runtimes/linux/dotnetcore2/bin/dotnet
[ "$*" = --native ] || testOnNet win-x64 testing/win32/wine.sh $runtimes/windows/dotnetcore2/bin/dotnet.exe
ls -l dist/*.nupkg
