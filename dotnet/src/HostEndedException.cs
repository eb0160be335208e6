namespace Orvane
{
    /// <summary>
    /// The host process of a model has ended: it crashed, was killed, took too long or was interrupted. Every later call
    /// for the model fails in the same way until <see cref="Model.Restart"/>.
    /// </summary>
    public sealed class HostEndedException : OrvaneException
    {
        internal HostEndedException(string message, HostEnd cause) : base(message, Reason.HostEnded, 0)
        {
            Cause = cause;
        }

        /// <summary>How the host process ended.</summary>
        public HostEnd Cause { get; }
    }
}
