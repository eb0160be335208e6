using System;
using System.Runtime.InteropServices;

namespace Orvane.Native
{
    /// <summary>Owns an <c>orvane_model</c>. Every call receives it, so the model stays open until the call
    /// returns, even if another thread disposes of it meanwhile.</summary>
    internal sealed class ModelHandle : SafeHandle
    {
        private ModelHandle() : base(IntPtr.Zero, true)
        {
        }

        public override bool IsInvalid => handle == IntPtr.Zero;

        /// <summary>The library calls it while the model is open.</summary>
        internal NativeMethods.ProgressCallback Progress { private get; set; }

        protected override bool ReleaseHandle()
        {
            NativeMethods.orvane_close(handle);
            return true;
        }
    }
}
