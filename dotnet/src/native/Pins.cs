using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;

namespace Orvane.Native
{
    /// <summary>Arrays that the garbage collector must not move during a call.</summary>
    internal sealed class Pins : IDisposable
    {
        private readonly List<GCHandle> handles = new List<GCHandle>();

        /// <summary>Returns the address of the first element, valid until <see cref="Dispose"/>; zero for null.</summary>
        internal IntPtr Add(Array array)
        {
            if (array == null)
                return IntPtr.Zero;
            GCHandle handle = GCHandle.Alloc(array, GCHandleType.Pinned);
            handles.Add(handle);
            return handle.AddrOfPinnedObject();
        }

        public void Dispose()
        {
            foreach (GCHandle handle in handles)
                handle.Free();
        }
    }
}
