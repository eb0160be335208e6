using System;
using Orvane.Native;

namespace Orvane
{
    /// <summary>The log lines of all models.</summary>
    public static class Log
    {
        private static readonly object Gate = new object();

        // One delegate for the life of the process: the library may still call it after you remove the last handler.
        private static readonly NativeMethods.LogCallback Callback = OnLine;

        private static volatile EventHandler<LogEventArgs> handlers;

        static Log()
        {
            AppDomain.CurrentDomain.ProcessExit += (sender, e) => Stop();
            AppDomain.CurrentDomain.DomainUnload += (sender, e) => Stop();
        }

        /// <summary>
        /// A line was logged. Handlers run on the thread that logs, perhaps on several at once. An exception that a handler
        /// throws is ignored. The sender is null.
        /// </summary>
        /// <exception cref="OrvaneException">There is not enough memory for the first handler.</exception>
        public static event EventHandler<LogEventArgs> LineWritten
        {
            add
            {
                lock (Gate)
                    Set(handlers + value);
            }
            remove
            {
                lock (Gate)
                    Set(handlers - value);
            }
        }

        private static void Set(EventHandler<LogEventArgs> wanted)
        {
            Library.Require();
            new CallGuard().Check(NativeMethods.orvane_set_log(wanted == null ? null : Callback, IntPtr.Zero));
            handlers = wanted;
        }

        // A later line would call into a runtime that has ended.
        private static void Stop()
        {
            if (handlers != null)
                NativeMethods.orvane_set_log(null, IntPtr.Zero);  // cannot fail
        }

        private static void OnLine(IntPtr user, uint level, IntPtr text)
        {
            try
            {
                handlers?.Invoke(null, new LogEventArgs((int)level, Utf8.Decode(text)));
            }
            catch (Exception)
            {
                // It must not cross the library's frames, which would end the process.
            }
        }
    }
}
