// What calls from Node.js give: checked for types, compiled, then run beside Vantra.dll.
import { load, OptIn, ReleaseState, type Product } from './vantra.mjs';

const product: Product = { family: 'Acme', name: 'Calls', version: 3.1 };
const absent = load('Absent.dll');
const vantra = load();
const nothing = absent.startSession(product);
// A host in JavaScript may pass anything.
const odd = { toString: () => { throw new Error('thrown'); } } as unknown as string;

const before = vantra.initialize('AcmeCalls', false);
vantra.setReleaseState(ReleaseState.serialized);
const refused = vantra.startSession(product);
const chosen = vantra.setOptIn(OptIn.in);
const session = vantra.startSession(product);
const group = session.newDataGroup('File', null, 'Numbers', 'a.txt');

const cases: [string, unknown, unknown][] = [
  ['an absent library', [absent.isPresent, absent.initialize('A', true), absent.getOptIn(), absent.getDemographic('A')],
    [false, false, -1, null]],
  ['a session of it', [nothing.isOpen, nothing.add('A', 1), nothing.newDataGroup('A', 'B', 'C').add('A', 1), nothing.close()],
    [false, false, false, false]],
  ['without consent', [before, refused.isOpen, refused.logEvent('A', 'B', 'C')], [true, false, false]],
  ['choices', [chosen, vantra.setOptIn(0.5 as number as OptIn), vantra.getOptIn(), vantra.getOptIn('AcmeCalls'),
    vantra.getOptIn('Other')], [true, false, 1, 1, -1]],
  ['another product', [vantra.setOptIn(OptIn.out, 'Other'), vantra.getOptIn('Other'), vantra.getOptIn()], [true, 0, 1]],
  ['numbers', [group.add('Big', 2n ** 63n), group.add('Half', 0.5), session.add('Whole', -17)], [true, true, true]],
  ['what is no text', [group.add('Odd', odd), session.add(odd, 'x'), vantra.startSession({ ...product, family: odd }).isOpen],
    [true, false, false]],
  ['no document', session.logEvent('File', '', 'Empty', ''), true],
  ['values', [vantra.setDemographic('City', 'Zürich'), vantra.getDemographic('City'), vantra.getDemographic('None'),
    vantra.setDemographic('City', 'Ulm', 'AcmeCalls'), vantra.getDemographic('City', 'AcmeCalls')],
    [true, 'Zürich', null, true, 'Ulm']],
  ['closing', [session.close(), session.close(), session.isOpen, group.add('Late', 1), group.isOpen],
    [true, false, false, false, false]],
];
for (const [name, seen, wanted] of cases) {
  if (JSON.stringify(seen) !== JSON.stringify(wanted)) throw new Error(`${name}: ${JSON.stringify(seen)}`);
}
