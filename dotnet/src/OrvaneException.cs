using System;

namespace Orvane
{
    /// <summary>A call failed. The message says what was wrong and what to do.</summary>
    public class OrvaneException : Exception
    {
        internal OrvaneException(string message, Reason reason, int systemError) : base(message)
        {
            Reason = reason;
            SystemError = systemError;
        }

        /// <summary>The kind of failure.</summary>
        public Reason Reason { get; }

        /// <summary>The operating system's error number (<c>GetLastError</c> on Windows, <c>errno</c> on Linux), or
        /// 0.</summary>
        public int SystemError { get; }
    }
}
