namespace Orvane
{
    /// <summary>How a host process ended.</summary>
    public enum HostEnd
    {
        /// <summary>It exited. On Windows a crash is an exit too.</summary>
        Exit = 1,

        /// <summary>A signal ended it: it crashed or was killed (Linux).</summary>
        Signal = 2,

        /// <summary>The application ended it: <see cref="Model.Interrupt"/>, a cancellation or
        /// <see cref="Model.Dispose"/>.</summary>
        Interrupted = 3,

        /// <summary>A call took longer than its time limit.</summary>
        TimeLimit = 4,

        /// <summary>It sent an invalid reply, and the library ended it.</summary>
        BadReply = 5,

        /// <summary>The system does not say how it ended.</summary>
        Unknown = 6
    }
}
