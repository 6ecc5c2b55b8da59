// Vantra for Node.js and Electron, by way of koffi. vantra.d.mts says what each function takes and does.
import path from 'node:path';
import koffi from 'koffi';

export const OptIn = Object.freeze({ noChoice: -1, out: 0, in: 1 });
export const ReleaseState = Object.freeze({ preRelease: 0, trial: 1, serialized: 2, sharedComponent: 3 });

const labels = 'str category, str subCategory, str name';
const document = 'const uint8_t *document, uint32_t documentLength';

// The functions in use, under their names without UT: what each takes, and its result where there is no library.
const kFunctions = {
  Initialize: ['str usageKey, bool crashHandling, str agentFolder', 1],
  StartSession: ['_Out_ void **session, str family, str name, str version, str build, str language', 1],
  AddToSession: ['void *session, str key, str value', 1],
  LogEvent: [`void *session, ${labels}, ${document}`, 1],
  NewDataGroup: [`void *session, ${labels}, _Out_ uint32_t *group, ${document}`, 1],
  AddToGroup: ['void *session, uint32_t group, str key, str value', 1],
  CloseSession: ['_Inout_ void **session', 1],
  GetOptIn: ['', -1],
  SetOptIn: ['int32_t choice', 1],
  OptInGet: ['str usageKey', -1],
  OptInSet: ['str usageKey, int32_t choice', 1],
  GetNonDefaultDemographic: ['str subkey, str key, _Out_ uint8_t *value, _Inout_ size_t *size', 1],
  SetNonDefaultDemographic: ['str subkey, str key, str value', 1],
  SetSerializationState: ['int32_t state', 1],
};

// A stored value has at most 511 characters, each at most three bytes.
const kDemographicSize = 1536;

// What is neither text nor a number is NULL, which the library refuses where it needs a text.
function text(value) {
  if (typeof value === 'string') return value;
  return typeof value === 'number' || typeof value === 'bigint' ? String(value) : null;
}

// A document and its length, none for an empty one.
function documentOf(value) {
  const bytes = Buffer.from(text(value) ?? '');
  return bytes.length > 0 ? [bytes, bytes.length] : [null, 0];
}

function tryCall(call, fallback) {
  try {
    return call();
  } catch {
    return fallback;
  }
}

function bind(file) {
  const library = koffi.load(file);
  return Object.fromEntries(
    Object.entries(kFunctions).map(([name, [parameters, failure]]) => {
      const call = library.func(`int32_t UT${name}(${parameters})`);
      return [name, (...values) => tryCall(() => call(...values), failure)];
    }),
  );
}

const kAbsent = Object.fromEntries(
  Object.entries(kFunctions).map(([name, [, failure]]) => [name, () => failure]),
);

const openSessions = new Set();
process.on('exit', () => openSessions.forEach((session) => session.close()));

class Group {
  #session;
  #add;

  constructor(session, add) {
    this.#session = session;
    this.#add = add;
  }

  get isOpen() {
    return this.#add !== null && this.#session.isOpen;
  }

  add(key, value) {
    return this.isOpen && this.#add(text(key), text(value)) === 0;
  }
}

class Session {
  #functions;
  #handle;

  constructor(functions, handle) {
    this.#functions = functions;
    this.#handle = handle;
    if (this.isOpen) openSessions.add(this);
  }

  get isOpen() {
    return this.#handle !== null;
  }

  add(key, value) {
    return this.isOpen && this.#functions.AddToSession(this.#handle, text(key), text(value)) === 0;
  }

  logEvent(category, subCategory, name, document) {
    const labels = [category, subCategory, name].map(text);
    return this.isOpen && this.#functions.LogEvent(this.#handle, ...labels, ...documentOf(document)) === 0;
  }

  newDataGroup(category, subCategory, name, document) {
    const id = [0];
    const labels = [category, subCategory, name].map(text);
    const isNew =
      this.isOpen && this.#functions.NewDataGroup(this.#handle, ...labels, id, ...documentOf(document)) === 0;
    return new Group(this, isNew ? (...value) => this.#functions.AddToGroup(this.#handle, id[0], ...value) : null);
  }

  close() {
    if (!this.isOpen) return false;
    const handle = [this.#handle];
    this.#handle = null;
    openSessions.delete(this);
    return this.#functions.CloseSession(handle) === 0;
  }

  [Symbol.dispose ?? 'dispose']() {
    this.close();
  }
}

class Library {
  #functions;

  constructor(functions) {
    this.#functions = functions ?? kAbsent;
    this.isPresent = functions !== null;
  }

  initialize(usageKey, crashHandling, agentFolder) {
    return this.#functions.Initialize(text(usageKey), crashHandling === true, text(agentFolder)) === 0;
  }

  setReleaseState(state) {
    this.#functions.SetSerializationState(state);
  }

  startSession(product) {
    const handle = [null];
    const texts = ['family', 'name', 'version', 'build', 'language'].map((part) => text(product?.[part]));
    this.#functions.StartSession(handle, ...texts);
    return new Session(this.#functions, handle[0]);
  }

  getOptIn(usageKey) {
    const key = text(usageKey);
    return key === null ? this.#functions.GetOptIn() : this.#functions.OptInGet(key);
  }

  setOptIn(choice, usageKey) {
    if (!Object.values(OptIn).includes(choice)) return false;
    const key = text(usageKey);
    return (key === null ? this.#functions.SetOptIn(choice) : this.#functions.OptInSet(key, choice)) === 0;
  }

  getDemographic(key, subkey) {
    const value = Buffer.alloc(kDemographicSize);
    const size = [value.length];
    if (this.#functions.GetNonDefaultDemographic(text(subkey), text(key), value, size) !== 0) return null;
    return value.toString('utf8', 0, value.indexOf(0));
  }

  setDemographic(key, value, subkey) {
    return this.#functions.SetNonDefaultDemographic(text(subkey), text(key), text(value)) === 0;
  }
}

export function load(file = 'Vantra.dll') {
  return new Library(tryCall(() => bind(path.resolve(path.dirname(process.execPath), file)), null));
}
