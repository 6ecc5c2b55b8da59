// Vantra for .NET: the functions of Vantra.dll, and a session that closes itself. vantra.h says what each takes, does
// and returns. Nothing is thrown where the library is missing: every call fails then.
using System;
using System.Globalization;
using System.Runtime.InteropServices;
using System.Text;

// Beside this program alone: for a bare name the system also looks in folders where others can put files.
[assembly: DefaultDllImportSearchPaths(DllImportSearchPath.AssemblyDirectory | DllImportSearchPath.System32)]

namespace Vantra
{
    /// <summary>The user's choice. As an argument NoChoice forgets it.</summary>
    public enum OptIn { NoChoice = -1, Out = 0, In = 1 }

    /// <summary>The functions as they are exported.</summary>
    static class Native
    {
        const string Dll = "Vantra.dll";
        const UnmanagedType Utf8 = UnmanagedType.LPUTF8Str;

        [DllImport(Dll)]
        public static extern int UTInitialize([MarshalAs(Utf8)] string usageKey,
            [MarshalAs(UnmanagedType.U1)] bool crashHandling, [MarshalAs(Utf8)] string agentFolder);
        [DllImport(Dll)]
        public static extern int UTStartSession(out IntPtr session, [MarshalAs(Utf8)] string family,
            [MarshalAs(Utf8)] string name, [MarshalAs(Utf8)] string version, [MarshalAs(Utf8)] string build,
            [MarshalAs(Utf8)] string language);
        [DllImport(Dll)]
        public static extern int UTAddToSession(IntPtr session, [MarshalAs(Utf8)] string key,
            [MarshalAs(Utf8)] string value);
        [DllImport(Dll)]
        public static extern int UTLogEvent(IntPtr session, [MarshalAs(Utf8)] string category,
            [MarshalAs(Utf8)] string subCategory, [MarshalAs(Utf8)] string name, byte[] document, uint length);
        [DllImport(Dll)]
        public static extern int UTNewDataGroup(IntPtr session, [MarshalAs(Utf8)] string category,
            [MarshalAs(Utf8)] string subCategory, [MarshalAs(Utf8)] string name, out uint group, byte[] document,
            uint length);
        [DllImport(Dll)]
        public static extern int UTAddToGroup(IntPtr session, uint group, [MarshalAs(Utf8)] string key,
            [MarshalAs(Utf8)] string value);
        [DllImport(Dll)]
        public static extern int UTCloseSession(ref IntPtr session);
        [DllImport(Dll)]
        public static extern int UTGetOptIn();
        [DllImport(Dll)]
        public static extern int UTSetOptIn(int value);
        [DllImport(Dll)]
        public static extern int UTOptInGet([MarshalAs(Utf8)] string usageKey);
        [DllImport(Dll)]
        public static extern int UTOptInSet([MarshalAs(Utf8)] string usageKey, int value);
        [DllImport(Dll)]
        public static extern int UTGetDemographic([MarshalAs(Utf8)] string key, byte[] buffer, ref UIntPtr size);
        [DllImport(Dll)]
        public static extern int UTSetDemographic([MarshalAs(Utf8)] string key, [MarshalAs(Utf8)] string value);
        [DllImport(Dll)]
        public static extern int UTGetNonDefaultDemographic([MarshalAs(Utf8)] string subkey,
            [MarshalAs(Utf8)] string key, byte[] buffer, ref UIntPtr size);
        [DllImport(Dll)]
        public static extern int UTSetNonDefaultDemographic([MarshalAs(Utf8)] string subkey,
            [MarshalAs(Utf8)] string key, [MarshalAs(Utf8)] string value);
        [DllImport(Dll)]
        public static extern int UTSetSerializationState(int state);
    }

    public static class Library
    {
        internal static int Try(Func<int> call, int failure = 1)
        {
            try { return call(); }
            catch (Exception e) when (e is DllNotFoundException || e is EntryPointNotFoundException
                || e is BadImageFormatException) { return failure; }
        }

        // Numbers as they are written everywhere, whatever the user's language.
        internal static string Text(object value) { return Convert.ToString(value, CultureInfo.InvariantCulture); }

        internal static byte[] Document(string text)
        {
            return string.IsNullOrEmpty(text) ? null : Encoding.UTF8.GetBytes(text);
        }

        /// <summary>False when the library was not found: then every call fails.</summary>
        public static bool IsPresent { get { return Try(() => Native.UTGetOptIn() & 0) == 0; } }

        /// <summary>UTInitialize, without crash handling: .NET turns faults into exceptions.</summary>
        public static bool Initialize(string usageKey, string agentFolder = null)
        {
            return Try(() => Native.UTInitialize(usageKey, false, agentFolder)) == 0;
        }

        /// <summary>UTGetOptIn and UTSetOptIn. Read it again to learn whether it was stored.</summary>
        public static OptIn Choice
        {
            get { return (OptIn)Try(Native.UTGetOptIn, -1); }
            set { Try(() => Native.UTSetOptIn((int)value)); }
        }
    }

    /// <summary>A data group of a session; one that was refused takes no values.</summary>
    public struct Group
    {
        readonly Session session;
        readonly uint id;

        internal Group(Session session, uint id) { this.session = session; this.id = id; }

        /// <summary>UTAddToGroup: a text or a number.</summary>
        public bool Add(string key, object value) { return session != null && session.Add(id, key, value); }
    }

    /// <summary>A session, closed by Dispose; none when the start was refused: then every call fails.</summary>
    public sealed class Session : IDisposable
    {
        IntPtr handle = IntPtr.Zero;

        /// <summary>UTStartSession.</summary>
        public Session(string family, string name, string version, string build = null, string language = null)
        {
            Library.Try(() => Native.UTStartSession(out handle, family, name, version, build, language));
        }

        public bool IsOpen { get { return handle != IntPtr.Zero; } }

        /// <summary>UTAddToSession: a value of the session itself.</summary>
        public bool Add(string key, object value)
        {
            return IsOpen && Native.UTAddToSession(handle, key, Library.Text(value)) == 0;
        }

        /// <summary>UTLogEvent. Of the document only a digest is recorded.</summary>
        public bool LogEvent(string category, string subCategory, string name, string document = null)
        {
            byte[] bytes = Library.Document(document);
            uint length = bytes == null ? 0 : (uint)bytes.Length;
            return IsOpen && Native.UTLogEvent(handle, category, subCategory, name, bytes, length) == 0;
        }

        /// <summary>UTNewDataGroup.</summary>
        public Group NewDataGroup(string category, string subCategory, string name, string document = null)
        {
            byte[] bytes = Library.Document(document);
            uint length = bytes == null ? 0 : (uint)bytes.Length, id = 0;
            bool isNew = IsOpen
                && Native.UTNewDataGroup(handle, category, subCategory, name, out id, bytes, length) == 0;
            return isNew ? new Group(this, id) : new Group();
        }

        /// <summary>UTCloseSession.</summary>
        public void Dispose()
        {
            if (IsOpen) Native.UTCloseSession(ref handle);
            handle = IntPtr.Zero;
        }

        internal bool Add(uint group, string key, object value)
        {
            return IsOpen && Native.UTAddToGroup(handle, group, key, Library.Text(value)) == 0;
        }
    }
}
