using System;
using System.IO;

namespace Orvane.Native
{
    /// <summary>The native library.</summary>
    internal static class Library
    {
        private const uint Abi = 4;
        private const int MayExecute = 1;        // X_OK
        private const uint Executable = 0x1ed;   // 0755

        private static volatile bool isReady;

        /// <summary>Loads the library. If that fails, throws an exception that says what to do.</summary>
        internal static void Require()
        {
            if (isReady)
                return;
            if (IntPtr.Size != 8)
                throw NotX64(null);
            uint found;
            try
            {
                found = NativeMethods.orvane_abi();
            }
            catch (DllNotFoundException exception)
            {
                throw new DllNotFoundException(
                    "Orvane's native library cannot be loaded. On Windows, orvane_c.dll and the DLLs of OpenVINO must be in " +
                    "the folder of your program, and the Microsoft Visual C++ Redistributable 2015-2022 (vc_redist.x64.exe) " +
                    "must be installed. On Linux, liborvane_c.so and the libraries of OpenVINO must be there. The system " +
                    "says: " + exception.Message, exception);
            }
            catch (BadImageFormatException exception)
            {
                throw NotX64(exception);
            }
            if (found < Abi)
                throw new DllNotFoundException(
                    $"Orvane's native library is too old: it has interface {found}, and this package needs {Abi}. Remove " +
                    "copies of orvane_c from older packages, and build again.");
            if (Path.DirectorySeparatorChar == '/')
                LetHostStart();
            isReady = true;
        }

        private static Exception NotX64(Exception inner)
        {
            return new PlatformNotSupportedException(
                "Orvane needs an x64 process. Set the platform target to x64; in a project for .NET Framework you can also " +
                "clear \"Prefer 32-bit\".", inner);
        }

        // NuGet extracts the host program without the right to execute it.
        private static void LetHostStart()
        {
            foreach (string line in File.ReadLines("/proc/self/maps"))
            {
                int path = line.IndexOf('/');
                if (path < 0 || !Path.GetFileName(line).StartsWith("liborvane_c.so", StringComparison.Ordinal))
                    continue;
                string host = Path.Combine(Path.GetDirectoryName(line.Substring(path)), "orvane_host");
                byte[] name = Utf8.Encode(host, null);
                if (File.Exists(host) && NativeMethods.access(name, MayExecute) != 0)
                    NativeMethods.chmod(name, Executable);  // if that fails, starting the host program does, and says why
                return;
            }
        }
    }
}
