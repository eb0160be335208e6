namespace Orvane
{
    /// <summary>The type of a tensor's elements.</summary>
    public enum ElementType
    {
        /// <summary>A type that is not in this list. Such a tensor cannot be copied.</summary>
        Unknown = 0,

        /// <summary><c>float</c></summary>
        Float32 = 1,

        /// <summary>16-bit floating point: <c>Half</c>, or <c>ushort</c> with its bits.</summary>
        Float16 = 2,

        /// <summary><c>int</c></summary>
        Int32 = 3,

        /// <summary><c>byte</c></summary>
        UInt8 = 4,

        /// <summary><c>long</c></summary>
        Int64 = 5,

        /// <summary><c>bool</c>, or <c>byte</c> with 0 or 1.</summary>
        Bool = 6,

        /// <summary><c>short</c></summary>
        Int16 = 7,

        /// <summary><c>sbyte</c></summary>
        Int8 = 8,

        /// <summary><c>double</c></summary>
        Float64 = 9
    }
}
