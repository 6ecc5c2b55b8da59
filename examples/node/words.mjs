// A host in Node.js: counts the lines, words and bytes of a text file, and records that it did. It also runs where
// Vantra.dll is missing.
import fs from 'node:fs';
import { fileURLToPath } from 'node:url';
import { load, OptIn } from './vantra.mjs';

// Asks as long as the user has not answered. Vantra keeps the answer.
function askForConsent(vantra) {
  if (!vantra.isPresent || vantra.getOptIn() !== OptIn.noChoice) return;
  fs.writeSync(1, 'May Words record how it is used? (y/n) ');
  const answer = fs.readFileSync(0, 'utf8');
  if (answer !== '') vantra.setOptIn(answer.startsWith('y') ? OptIn.in : OptIn.out);
}

function count(path) {
  const bytes = fs.readFileSync(path);
  const words = bytes.toString('latin1').split(/[ \t\n\v\f\r]+/);
  return {
    Lines: bytes.filter((byte) => byte === 10).length,
    Words: words.filter((word) => word !== '').length,
    Bytes: bytes.length,
  };
}

const path = process.argv[2];
if (process.argv.length !== 3) {
  console.error('usage: node words.mjs FILE');
  process.exit(2);
}

// Beside this file, since the executable is Node's.
const folder = fileURLToPath(new URL('.', import.meta.url));
const vantra = load(`${folder}Vantra.dll`);
vantra.initialize('AcmeWords', false, folder);
askForConsent(vantra);

// Without consent, or without the library, the session records nothing. It is closed when the process exits.
const session = vantra.startSession({ family: 'Acme', name: 'Words', version: '1.0' });
try {
  const counts = count(path);
  session.logEvent('File', 'Text', 'Count', path);
  const group = session.newDataGroup('File', 'Text', 'Counts', path);
  for (const [name, number] of Object.entries(counts)) group.add(name, number);
  console.log(counts.Lines, counts.Words, counts.Bytes);
} catch (error) {
  session.logEvent('File', 'Text', 'OpenFailed', path);
  console.error(`words: ${error.message}`);
  process.exitCode = 1;
}
