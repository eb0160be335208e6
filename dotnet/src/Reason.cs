namespace Orvane
{
    /// <summary>The kind of failure of an <see cref="OrvaneException"/>.</summary>
    public enum Reason
    {
        /// <summary>This model, these files or these options do not allow it. The message says what to
        /// change.</summary>
        Refused = 1,

        /// <summary>There is not enough memory.</summary>
        NoMemory = 3,

        /// <summary>The host process has ended. The exception is a <see cref="HostEndedException"/>.</summary>
        HostEnded = 4,

        /// <summary>The operating system refused. <see cref="OrvaneException.SystemError"/> has its error
        /// number.</summary>
        System = 5,

        /// <summary>OpenVINO failed. The message is from OpenVINO.</summary>
        Runtime = 6
    }
}
