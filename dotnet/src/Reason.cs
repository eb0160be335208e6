namespace Orvane
{
    /// <summary>What kind of failure an <see cref="OrvaneException"/> is.</summary>
    public enum Reason
    {
        /// <summary>It cannot be done with this model, these files or these options. The message says what to
        /// change.</summary>
        Refused = 1,

        /// <summary>There is not enough memory.</summary>
        NoMemory = 3,

        /// <summary>The host process has ended. The exception is a <see cref="HostEndedException"/>.</summary>
        HostEnded = 4,

        /// <summary>The operating system cannot do it. <see cref="OrvaneException.SystemError"/> has its error
        /// number.</summary>
        System = 5,

        /// <summary>OpenVINO failed. The message is its own.</summary>
        Runtime = 6
    }
}
