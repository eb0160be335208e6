using System.Collections.Generic;
using System.Collections.ObjectModel;
using System.Runtime.InteropServices;
using Orvane.Native;

namespace Orvane
{
    /// <summary>An input or an output of a model.</summary>
    public sealed class Tensor
    {
        internal Tensor(ref NativeTensor native)
        {
            var shape = new long[native.Rank];
            if (shape.Length > 0)
                Marshal.Copy(native.Dimensions, shape, 0, shape.Length);
            Name = Utf8.Decode(native.Name);
            ElementType = (ElementType)native.ElementType;
            Shape = new ReadOnlyCollection<long>(shape);
            ByteSize = checked((long)native.ByteSize);
            Problem = Utf8.Decode(native.Problem);
        }

        /// <summary>The model's name for it.</summary>
        public string Name { get; }

        /// <summary>The type of its elements.</summary>
        public ElementType ElementType { get; }

        /// <summary>Its dimensions, outermost first. A dynamic dimension is -1.</summary>
        public IReadOnlyList<long> Shape { get; }

        /// <summary>Bytes of all elements. 0 if the tensor cannot be copied: <see cref="Problem"/> says why.</summary>
        public long ByteSize { get; }

        /// <summary>Why the tensor cannot be copied and what to do; null if it can.</summary>
        public string Problem { get; }

        /// <summary>Returns the name, the element type and the shape, as in <c>x Float32 [1, 3, 224, 224]</c>.</summary>
        public override string ToString()
        {
            return $"{Name} {ElementType} [{string.Join(", ", Shape)}]";
        }
    }
}
