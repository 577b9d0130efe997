// What both client tests share: a real host in a scratch folder, the
// programs under test, and the control side.
import { spawn, execFile } from 'node:child_process';
import { mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';

const run = promisify(execFile);

function required(name) {
  const value = process.env[name];
  if (!value) throw new Error(`${name} must name the built program (ctest sets it)`);
  return value;
}

export const programs = {
  bridge: required('TALLYWICK_BRIDGE'),
  host: required('TALLYWICK_HOST'),
  ctl: required('TALLYWICK_CTL'),
};

// A host with its database in the scratch folder and its runtime folder
// under the system's temporary folder (a socket path must stay short).
export class Host {
  constructor(name) {
    const scratch = process.env.TALLYWICK_TEST_SCRATCH ?? tmpdir();
    mkdirSync(scratch, { recursive: true });
    this.folder = mkdtempSync(join(scratch, `${name}-`));
    this.runtimeDir = join(mkdtempSync(join(tmpdir(), 'tlw-')), 'run');
    this.database = join(this.folder, 'ledger.sqlite3');
    this.log = '';
    this.process = null;
  }

  // Resolves once the host says it serves; rejects when it exits first.
  start() {
    const child = spawn(programs.host, ['--database', this.database, '--runtime-dir', this.runtimeDir], {
      stdio: ['ignore', 'ignore', 'pipe'],
    });
    this.process = child;
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => reject(new Error(`host did not come up:\n${this.log}`)), 20000);
      child.stderr.setEncoding('utf8');
      child.stderr.on('data', (text) => {
        this.log += text;
        if (this.log.includes(': serving ')) {
          clearTimeout(timer);
          resolve();
        }
      });
      child.on('exit', () => {
        clearTimeout(timer);
        reject(new Error(`host exited:\n${this.log}`));
      });
    });
  }

  // Sends the signal and waits for the host to be gone.
  async stop(signal = 'SIGTERM') {
    const child = this.process;
    this.process = null;
    if (!child || child.exitCode !== null || child.signalCode !== null) return;
    const exited = new Promise((resolve) => child.once('exit', resolve));
    child.kill(signal);
    await exited;
  }

  async remove() {
    await this.stop();
    rmSync(this.folder, { recursive: true, force: true });
    rmSync(join(this.runtimeDir, '..'), { recursive: true, force: true });
  }

  // The desktop's side: adds an entry to an account through tallywickctl.
  async addEntry(accountId, amount, memo) {
    return run(programs.ctl, ['--runtime-dir', this.runtimeDir, 'entry', 'add', accountId, 'credit', String(amount),
                              '--memo', memo]);
  }
}
