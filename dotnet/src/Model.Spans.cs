#if NETSTANDARD2_1
using System;
using System.Runtime.InteropServices;
using System.Threading;
using Orvane.Native;

namespace Orvane
{
    public sealed partial class Model
    {
        /// <summary>Copies a span into an input.</summary>
        /// <inheritdoc cref="SetInput{T}(int, T[])"/>
        public unsafe void SetInput<T>(int index, ReadOnlySpan<T> data) where T : struct
        {
            ulong bytes = (ulong)data.Length * (ulong)Elements.SizeOf<T>(InputAt(index), nameof(data));
            using (Enter(CancellationToken.None))
            fixed (byte* address = &MemoryMarshal.GetReference(MemoryMarshal.AsBytes(data)))
                Check(NativeMethods.orvane_set_input(handle, (uint)index, (IntPtr)address, bytes));
        }

        /// <summary>Copies a span into the input with a name.</summary>
        /// <inheritdoc cref="SetInput{T}(int, T[])"/>
        public void SetInput<T>(string name, ReadOnlySpan<T> data) where T : struct
        {
            SetInput(IndexOf(Inputs, "input", name), data);
        }

        /// <summary>Copies an output of the last run into your span.</summary>
        /// <inheritdoc cref="GetOutput{T}(int, T[])"/>
        public unsafe void GetOutput<T>(int index, Span<T> destination) where T : struct
        {
            ulong bytes = (ulong)destination.Length * (ulong)Elements.SizeOf<T>(OutputAt(index), nameof(destination));
            using (Enter(CancellationToken.None))
            fixed (byte* address = &MemoryMarshal.GetReference(MemoryMarshal.AsBytes(destination)))
                Check(NativeMethods.orvane_get_output(handle, (uint)index, (IntPtr)address, bytes));
        }

        /// <summary>Copies the output with a name into your span.</summary>
        /// <inheritdoc cref="GetOutput{T}(int, T[])"/>
        public void GetOutput<T>(string name, Span<T> destination) where T : struct
        {
            GetOutput(IndexOf(Outputs, "output", name), destination);
        }
    }
}
#endif
