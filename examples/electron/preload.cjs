// The one function that a window gets.
const { contextBridge, ipcRenderer } = require('electron');

contextBridge.exposeInMainWorld('record', (what) => ipcRenderer.send('record', what));
