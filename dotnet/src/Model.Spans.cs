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
        public void SetInput<T>(int index, ReadOnlySpan<T> data) where T : struct
        {
            Copy(CopyIn, index, InputAt(index), data, nameof(data));
        }

        /// <summary>Copies a span into the input with a name.</summary>
        /// <inheritdoc cref="SetInput{T}(int, T[])"/>
        public void SetInput<T>(string name, ReadOnlySpan<T> data) where T : struct
        {
            SetInput(IndexOf(Inputs, "input", name), data);
        }

        /// <summary>Copies an output of the last run into your span.</summary>
        /// <inheritdoc cref="GetOutput{T}(int, T[])"/>
        public void GetOutput<T>(int index, Span<T> destination) where T : struct
        {
            Copy<T>(CopyOut, index, OutputAt(index), destination, nameof(destination));
        }

        /// <summary>Copies the output with a name into your span.</summary>
        /// <inheritdoc cref="GetOutput{T}(int, T[])"/>
        public void GetOutput<T>(string name, Span<T> destination) where T : struct
        {
            GetOutput(IndexOf(Outputs, "output", name), destination);
        }

        private unsafe void Copy<T>(NativeMethods.CopyFunction copy, int index, Tensor tensor, ReadOnlySpan<T> span,
                                    string parameter) where T : struct
        {
            ulong bytes = (ulong)span.Length * (ulong)Elements.SizeOf<T>(tensor, parameter);
            using (Enter(CancellationToken.None))
            fixed (byte* address = &MemoryMarshal.GetReference(MemoryMarshal.AsBytes(span)))
                Check(copy(handle, (uint)index, (IntPtr)address, bytes));
        }
    }
}
#endif
