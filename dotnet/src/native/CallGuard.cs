using System;
using System.Runtime.ExceptionServices;
using System.Threading;

namespace Orvane.Native
{
    /// <summary>One call of the library: the results of its callbacks, and its exception.</summary>
    internal sealed class CallGuard
    {
        private const int BadArgument = 2;
        private const int HostEnded = 4;
        private const int Cancelled = 7;

        private ExceptionDispatchInfo thrown;

        /// <summary>Cancels the current call.</summary>
        internal CancellationToken Token { private get; set; }

        /// <summary>Cancels all calls of one piece of work.</summary>
        internal CancellationToken OuterToken { private get; set; }

        private bool IsCancelled => Token.IsCancellationRequested || OuterToken.IsCancellationRequested;

        /// <summary>
        /// What a callback returns to the library: 0 to continue, 1 to cancel, because a token is cancelled, the code returns
        /// false, or it throws. An exception must not cross the library's frames, which would end the process:
        /// <see cref="Check"/> throws it.
        /// </summary>
        internal int Run(Func<bool> code)
        {
            try
            {
                return !IsCancelled && code() && !IsCancelled ? 0 : 1;
            }
            catch (Exception exception)
            {
                Keep(exception);
                return 1;
            }
        }

        /// <summary>Lets <see cref="Check"/> throw an exception that must not leave a callback.</summary>
        internal void Keep(Exception exception)
        {
            thrown = ExceptionDispatchInfo.Capture(exception);
        }

        /// <summary>Frees the error that the call returned, and throws its exception. Does nothing without an error.</summary>
        internal void Check(IntPtr error)
        {
            Exception failure = error == IntPtr.Zero ? null : Take(error);
            ExceptionDispatchInfo own = thrown;
            thrown = null;
            own?.Throw();
            if (failure != null)
                throw failure;
        }

        private Exception Take(IntPtr error)
        {
            int reason = NativeMethods.orvane_error_reason(error);
            int system = NativeMethods.orvane_error_system(error);
            int hostEnd = NativeMethods.orvane_error_host_end(error);
            string message = Utf8.Decode(NativeMethods.orvane_error_message(error));
            NativeMethods.orvane_error_free(error);
            switch (reason)
            {
                case BadArgument:
                    return new ArgumentException(message);
                case HostEnded:
                    return new HostEndedException(message, (HostEnd)hostEnd);
                case Cancelled:
                    return new OperationCanceledException(message, Token.IsCancellationRequested ? Token : OuterToken);
                default:
                    return new OrvaneException(message, (Reason)reason, system);
            }
        }
    }
}
