using System;
using System.Runtime.InteropServices;

namespace Orvane.Native
{
    // The structures of orvane_c.h. All fields are blittable: the library gets their address, never a copy.

    [StructLayout(LayoutKind.Sequential)]
    internal struct NativeOptions
    {
        internal const int Size = 80;

        internal ulong StructSize;
        internal IntPtr ModelPath;
        internal IntPtr Device;
        internal IntPtr CachePath;
        internal IntPtr HostProgram;
        internal IntPtr Key;
        internal uint KeySize;
        internal uint MakeCache;
        internal uint TimeLimitMs;
        internal uint LoadTimeLimitMs;
        internal IntPtr Progress;
        internal IntPtr ProgressUser;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct NativeTensor
    {
        internal const int Size = 48;

        internal ulong StructSize;
        internal IntPtr Name;
        internal IntPtr Dimensions;
        internal uint Rank;
        internal uint ElementType;
        internal ulong ByteSize;
        internal IntPtr Problem;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct NativeShape
    {
        internal const int Size = 24;

        internal ulong StructSize;
        internal IntPtr Dimensions;
        internal uint Rank;
        internal uint Input;
    }
}
