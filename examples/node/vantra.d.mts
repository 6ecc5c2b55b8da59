/**
 * Vantra for Node.js and Electron.
 *
 *     const vantra = load();                             // Vantra.dll beside the executable
 *     vantra.initialize('MyProduct', false);
 *     if (vantra.getOptIn() === OptIn.noChoice) vantra.setOptIn(askUser());
 *
 *     const session = vantra.startSession({ family: 'Acme', name: 'Draw', version: '3.1' });
 *     session.add('Theme', 'dark');
 *     session.logEvent('File', 'Menu', 'Save', path);
 *     session.newDataGroup('Drawing', 'Size', 'Shapes').add('Circles', 17);
 *     session.close();
 *
 * Limits, repairs, the effect of consent and what is recorded are those of vantra.h. Nothing is thrown. Each boolean
 * says whether the call succeeded; those of recording calls may be ignored, since a failure harms nothing, and
 * without consent or without the library there is simply no session.
 *
 * Calls are synchronous: a record is on its way to the disk when its call returns. A session belongs to the thread
 * (worker) that started it.
 */

/** Text, or a number that is recorded as its text. null and undefined stand for NULL; text ends at its first NUL. */
export type Text = string | number | bigint | null | undefined;

/** The user's choice. As an argument noChoice forgets it, and the product's demographic values with it. */
export const OptIn: { readonly noChoice: -1; readonly out: 0; readonly in: 1 };
export type OptIn = (typeof OptIn)[keyof typeof OptIn];

/** In preRelease a user who has not chosen yet counts as consenting. */
export const ReleaseState: {
  readonly preRelease: 0;
  readonly trial: 1;
  readonly serialized: 2;
  readonly sharedComponent: 3;
};
export type ReleaseState = (typeof ReleaseState)[keyof typeof ReleaseState];

/** What a session records about its host. Family and name become part of file names. */
export interface Product {
  family: Text;
  name: Text;
  version: Text;
  build?: Text;
  language?: Text;
}

/** A data group of a session. */
export interface Group {
  /** Whether it takes values: it was opened, and its session is open. */
  readonly isOpen: boolean;
  /** UTAddToGroup. */
  add(key: Text, value: Text): boolean;
}

/** A session, or none when the start was refused: then every call fails and does nothing. */
export interface Session {
  /** Whether there is a session. */
  readonly isOpen: boolean;
  /** UTAddToSession: a value of the session itself. */
  add(key: Text, value: Text): boolean;
  /** UTLogEvent. Of the document only a digest is recorded; an empty one stands for none. */
  logEvent(category: Text, subCategory: Text, name: Text, document?: Text): boolean;
  /** UTNewDataGroup. The result takes no values when the group was refused. */
  newDataGroup(category: Text, subCategory: Text, name: Text, document?: Text): Group;
  /**
   * UTCloseSession. True when there was a session to close. A session that is open when the process exits by itself or
   * by process.exit() is closed then; it is not when it becomes garbage. Also Symbol.dispose, for `using`.
   */
  close(): boolean;
}

/** The library, as much of it as there is. */
export interface Library {
  /** False when it was not found: then every call fails, and there is never a session. */
  readonly isPresent: boolean;
  /**
   * UTInitialize. The agent is looked for in the folder that is given, beside the executable and in the other places
   * of docs/deployment.md; for a script the executable is node.exe. False when the usage key is refused.
   *
   * Pass crashHandling false in Electron, which reports crashes by itself; read about its price at UTInitialize.
   */
  initialize(usageKey: Text, crashHandling: boolean, agentFolder?: Text): boolean;
  /** UTSetSerializationState, before a session starts. */
  setReleaseState(state: ReleaseState): void;
  /** UTStartSession. A session that is not open when it was refused, for want of consent for one. */
  startSession(product: Product): Session;
  /** UTGetOptIn; with a usage key, UTOptInGet. */
  getOptIn(usageKey?: Text): OptIn;
  /** UTSetOptIn; with a usage key, UTOptInSet. False when the choice was not stored. */
  setOptIn(choice: OptIn, usageKey?: Text): boolean;
  /** UTGetNonDefaultDemographic; without a subkey, UTGetDemographic. null when there is no such value. */
  getDemographic(key: Text, subkey?: Text): string | null;
  /** UTSetNonDefaultDemographic; without a subkey, UTSetDemographic. */
  setDemographic(key: Text, value: Text, subkey?: Text): boolean;
}

/**
 * Loads the library, which stays loaded until the process ends.
 *
 * @param file  A full path, or one that starts from the folder of the executable (node.exe, or the program of an
 *              Electron application): "Vantra.dll" when it is left out.
 * @returns The library; not present when the file is missing, cannot be loaded or lacks a function, and on systems
 *          other than 64-bit Windows.
 */
export function load(file?: string): Library;
