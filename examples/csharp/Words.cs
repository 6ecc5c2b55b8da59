// A host in C#: counts the lines, words and bytes of a text file, and records that it did.
using System;
using System.IO;
using System.Linq;
using System.Text;
using Vantra;

static class Words
{
    // Asks as long as the user has not answered. Vantra keeps the answer.
    static void AskForConsent()
    {
        if (!Library.IsPresent || Library.Choice != OptIn.NoChoice) return;
        Console.Write("May Words record how it is used? (y/n) ");
        string answer = Console.ReadLine();
        if (!string.IsNullOrEmpty(answer)) Library.Choice = answer.StartsWith("y") ? OptIn.In : OptIn.Out;
    }

    static int Main(string[] arguments)
    {
        if (arguments.Length != 1)
        {
            Console.Error.WriteLine("usage: words FILE");
            return 2;
        }
        string path = arguments[0];
        Library.Initialize("AcmeWords");
        AskForConsent();
        // Without consent, or without the library, the session records nothing.
        using (var session = new Session("Acme", "Words", "1.0"))
        {
            byte[] content;
            try { content = File.ReadAllBytes(path); }
            catch (IOException e)
            {
                session.LogEvent("File", "Text", "OpenFailed", path);
                Console.Error.WriteLine("words: " + e.Message);
                return 1;
            }
            int lines = content.Count(value => value == '\n');
            int words = Encoding.GetEncoding("iso-8859-1").GetString(content)
                .Split(" \t\n\v\f\r".ToCharArray(), StringSplitOptions.RemoveEmptyEntries).Length;
            session.LogEvent("File", "Text", "Count", path);
            var group = session.NewDataGroup("File", "Text", "Counts", path);
            group.Add("Lines", lines);
            group.Add("Words", words);
            group.Add("Bytes", content.Length);
            Console.WriteLine("{0} {1} {2}", lines, words, content.Length);
            return 0;
        }
    }
}
