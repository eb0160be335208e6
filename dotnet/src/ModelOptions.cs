using System;

namespace Orvane
{
    /// <summary>How to run a model. The options are read when a model is loaded; later changes have no effect on
    /// it.</summary>
    public sealed class ModelOptions
    {
        /// <summary>A device of OpenVINO, such as <c>"GPU"</c>: see <see cref="Devices.All"/>. Null is the CPU.</summary>
        public string Device { get; set; }

        /// <summary>A file for the compiled model. If it exists, the model is loaded from it and the model file is not
        /// read.</summary>
        public string CachePath { get; set; }

        /// <summary>Write <see cref="CachePath"/> if it does not exist. If it cannot be written, the model runs without it
        /// and <see cref="Log"/> says so.</summary>
        public bool MakeCache { get; set; }

        /// <summary>Run the model in a separate process. If the model or OpenVINO crashes there, the call throws a
        /// <see cref="HostEndedException"/> and your application keeps running.</summary>
        public bool Host { get; set; }

        /// <summary>The path of the host program. Null is the host program that comes with the library. A path implies
        /// <see cref="Host"/>.</summary>
        public string HostProgram { get; set; }

        /// <summary>The key of an encrypted model file, 1 to 4 bytes: see <see cref="ModelFile.Encrypt"/>. Null for a plain
        /// file.</summary>
        public byte[] Key { get; set; }

        /// <summary>How long one call may wait for the host process. When the time is over, the library ends the host
        /// process, and the call throws a <see cref="HostEndedException"/>. Null is no limit.</summary>
        public TimeSpan? TimeLimit { get; set; }

        /// <summary>The same for loading and restarting. Null is <see cref="TimeLimit"/>.</summary>
        public TimeSpan? LoadTimeLimit { get; set; }

        /// <summary>
        /// Called at each step of loading, on the thread that loads, and about five times a second while a host process
        /// loads. Return false to cancel: the load then throws an <see cref="OperationCanceledException"/>. If it throws an
        /// exception, the load is cancelled too, and the constructor throws that exception.
        /// </summary>
        public Func<LoadStep, bool> Progress { get; set; }

        internal ModelOptions Copy()
        {
            return (ModelOptions)MemberwiseClone();
        }
    }
}
