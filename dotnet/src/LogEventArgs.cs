using System;

namespace Orvane
{
    /// <summary>A log line.</summary>
    public sealed class LogEventArgs : EventArgs
    {
        internal LogEventArgs(int level, string text)
        {
            Level = level;
            Text = text;
        }

        /// <summary>The level. The library's own lines have level 6.</summary>
        public int Level { get; }

        /// <summary>The text, without a line break at its end.</summary>
        public string Text { get; }
    }
}
