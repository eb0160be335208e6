using System;
using System.Runtime.InteropServices;
using System.Text;

namespace Orvane.Native
{
    /// <summary>Texts as the library takes and returns them: UTF-8 with a zero at the end. .NET Framework has no marshalling
    /// for them.</summary>
    internal static class Utf8
    {
        private static readonly Encoding Encoding = new UTF8Encoding(false, true);

        /// <summary>Returns the text with a zero at its end; null for null.</summary>
        internal static byte[] Encode(string text, string parameter)
        {
            if (text == null)
                return null;
            if (text.IndexOf('\0') >= 0)
                throw new ArgumentException("The text contains a zero character, which would end it there.", parameter);
            var bytes = new byte[Encoding.GetMaxByteCount(text.Length) + 1];
            Encoding.GetBytes(text, 0, text.Length, bytes, 0);
            return bytes;
        }

        /// <summary>Returns the text at an address; null for a zero address.</summary>
        internal static string Decode(IntPtr address)
        {
            if (address == IntPtr.Zero)
                return null;
            int length = 0;
            while (Marshal.ReadByte(address, length) != 0)
                ++length;
            var bytes = new byte[length];
            Marshal.Copy(address, bytes, 0, length);
            return new UTF8Encoding().GetString(bytes);
        }
    }
}
