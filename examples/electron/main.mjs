// A host in Electron. Only the main process knows Vantra; a window asks it through preload.cjs. Copy vantra.mjs and
// vantra.d.mts from examples/node beside this file.
import { app, BrowserWindow, dialog, ipcMain } from 'electron';
import { fileURLToPath } from 'node:url';
import { load, OptIn } from './vantra.mjs';

// What windows may record. They are not trusted with free text, and never name a category or a file themselves.
const kEvents = new Map([
  ['circle', ['Drawing', 'Toolbar', 'AddCircle']],
  ['save', ['File', 'Menu', 'Save']],
]);

function askForConsent(vantra) {
  if (!vantra.isPresent || vantra.getOptIn() !== OptIn.noChoice) return;
  const answer = dialog.showMessageBoxSync({
    type: 'question',
    message: 'May Draw record how it is used?',
    buttons: ['Yes', 'No', 'Ask me later'],
    cancelId: 2,
    noLink: true,
  });
  if (answer < 2) vantra.setOptIn(answer === 0 ? OptIn.in : OptIn.out);
}

await app.whenReady();
// Vantra.dll and the agent lie beside the program. Electron reports crashes by itself.
const vantra = load();
vantra.initialize('AcmeDraw', false);
askForConsent(vantra);

const session = vantra.startSession({
  family: 'Acme',
  name: 'Draw',
  version: app.getVersion(),
  language: app.getLocale(),
});
ipcMain.on('record', (_event, what) => {
  if (kEvents.has(what)) session.logEvent(...kEvents.get(what));
});
app.on('quit', () => session.close());
app.on('window-all-closed', () => app.quit());

const preload = fileURLToPath(new URL('preload.cjs', import.meta.url));
await new BrowserWindow({ webPreferences: { preload } }).loadFile('index.html');
