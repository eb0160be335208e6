namespace Orvane
{
    /// <summary>A device that can run models.</summary>
    public sealed class Device
    {
        internal Device(string name, string fullName)
        {
            Name = name;
            FullName = fullName;
        }

        /// <summary>The name for <see cref="ModelOptions.Device"/>, such as <c>"CPU"</c>.</summary>
        public string Name { get; }

        /// <summary>The name of the processor or card. It can be empty.</summary>
        public string FullName { get; }

        /// <summary>Returns both names.</summary>
        public override string ToString()
        {
            return $"{Name} {FullName}";
        }
    }
}
