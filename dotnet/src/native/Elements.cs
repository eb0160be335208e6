using System;

namespace Orvane.Native
{
    /// <summary>The C# types for each element type.</summary>
    internal static class Elements
    {
        private static readonly Type[] Types =
        {
            null, typeof(float), typeof(ushort), typeof(int), typeof(byte), typeof(long), typeof(bool), typeof(short),
            typeof(sbyte), typeof(double)
        };

        private static readonly int[] Sizes = { 0, 4, 2, 4, 1, 8, 1, 2, 1, 8 };

        /// <summary>Returns the bytes of one element if the tensor's data has the type <typeparamref name="T"/>.</summary>
        /// <exception cref="ArgumentException">The tensor has another element type.</exception>
        internal static int SizeOf<T>(Tensor tensor, string parameter) where T : struct
        {
            var type = (int)tensor.ElementType;
            if (type <= 0 || type >= Types.Length)
                throw new ArgumentException($"{tensor.Problem}.", parameter);
            if (typeof(T) != Types[type] && !IsOther(typeof(T), tensor.ElementType))
                throw new ArgumentException(
                    $"The tensor {tensor} has elements of type {Types[type].Name}, not {typeof(T).Name}.", parameter);
            return Sizes[type];
        }

        private static bool IsOther(Type type, ElementType wanted)
        {
            return wanted == ElementType.Bool && type == typeof(byte) ||
                   wanted == ElementType.Float16 && type.FullName == "System.Half";  // of .NET 5 and later
        }
    }
}
