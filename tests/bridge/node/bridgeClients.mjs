// SPDX-License-Identifier: MIT
// What both client tests share: a real host in a scratch folder, the
// programs under test, and the control side.
import { spawn, execFile } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, join } from 'node:path';
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

// A copy of the bridge in a folder of its own, with no host beside it to
// start on demand.
export function aloneBridge() {
  const folder = mkdtempSync(join(tmpdir(), 'tlw-alone-'));
  const copy = join(folder, basename(programs.bridge));
  copyFileSync(programs.bridge, copy);
  return copy;
}

// Whether a process is gone (a zombie counts: its files are closed).
function gone(pid) {
  try {
    return readFileSync(`/proc/${pid}/stat`, 'utf8').replace(/^.*\) /s, '').startsWith('Z');
  } catch {
    return true;
  }
}

export async function waitUntil(what, condition, seconds = 10) {
  const deadline = Date.now() + seconds * 1000;
  while (!condition()) {
    if (Date.now() > deadline) throw new Error(`timed out waiting for ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

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

  // What a bridge needs so that a host it starts on demand serves this
  // database (the bridge passes the runtime folder itself).
  get bridgeEnv() {
    return { TALLYWICK_DATA_DIR: this.folder };
  }

  // The pid in the runtime folder's lock: the host serving it, whoever started it.
  lockHolder() {
    const lock = join(this.runtimeDir, 'host.lock');
    if (!existsSync(lock)) return null;
    const pid = Number.parseInt(readFileSync(lock, 'utf8'), 10);
    return Number.isInteger(pid) && pid > 0 && !gone(pid) ? pid : null;
  }

  // Stops a host a bridge started on demand (not our child).
  async stopOnDemand() {
    const pid = this.lockHolder();
    if (!pid || pid === this.process?.pid) return;
    process.kill(pid, 'SIGTERM');
    await waitUntil('the host started on demand to stop', () => gone(pid));
  }

  async remove() {
    await this.stop();
    await this.stopOnDemand();
    rmSync(this.folder, { recursive: true, force: true });
    rmSync(join(this.runtimeDir, '..'), { recursive: true, force: true });
  }

  // The desktop's side: adds an entry to an account through tallywickctl.
  async addEntry(accountId, amount, memo) {
    return run(programs.ctl, ['--runtime-dir', this.runtimeDir, 'entry', 'add', accountId, 'credit', String(amount),
                              '--memo', memo]);
  }
}
