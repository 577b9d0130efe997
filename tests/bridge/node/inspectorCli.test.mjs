// SPDX-License-Identifier: MIT
// tallywick-bridge through the Model Context Protocol inspector's command
// line: each call starts a bridge of its own, shakes hands, asks one thing.
import { after, before, test } from 'node:test';
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

import { Host, aloneBridge, programs } from './bridgeClients.mjs';

const run = promisify(execFile);
const inspectorBuild = join(dirname(fileURLToPath(import.meta.url)), 'node_modules', '@modelcontextprotocol',
                            'inspector-cli', 'build');
const host = new Host('inspector');

before(() => host.start());
after(() => host.remove());

// Runs the inspector in its own build folder: it looks for its package.json
// relative to the working folder but loads it relative to itself.
async function inspect(...methodArguments) {
  return inspectWith(programs.bridge, ...methodArguments);
}

async function inspectWith(bridge, ...methodArguments) {
  const { stdout } = await run(process.execPath, [
    join(inspectorBuild, 'cli.js'), '--cli', '-e', `TALLYWICK_RUNTIME_DIR=${host.runtimeDir}`,
    '-e', `TALLYWICK_DATA_DIR=${host.folder}`, bridge, ...methodArguments,
  ], { cwd: inspectorBuild, timeout: 60000 });
  return JSON.parse(stdout);
}

// Every field of a schema, with its path, down through objects and arrays.
function* fields(schema, path) {
  for (const [name, field] of Object.entries(schema.properties ?? {})) {
    yield [`${path}.${name}`, field];
    yield* fields(field, `${path}.${name}`);
  }
  if (schema.items) yield* fields(schema.items, `${path}[]`);
}

test('lists the tools, each saying when to use it, with every input field described', async () => {
  const { tools } = await inspect('--method', 'tools/list');
  assert.deepEqual(tools.map((tool) => tool.name).sort(), ['getBalance', 'getHistory', 'login', 'signUp']);
  for (const tool of tools) {
    assert.match(tool.description, /^Use this /, `${tool.name} says when to use it`);
    for (const [path, field] of fields(tool.inputSchema, tool.name)) {
      assert.ok(typeof field.description === 'string' && field.description.length > 10,
                `${path} has a description`);
    }
    // The error code an agent may see is one of a list it can rely on.
    const failure = tool.outputSchema.anyOf.find((shape) => shape.required?.includes('error'));
    assert.deepEqual(failure.properties.error.properties.code.enum,
                     ['notSignedIn', 'invalidCredentials', 'invalidKey', 'invalidArguments', 'internalError']);
  }
});

test('signs up in one call and logs in to the same account in the next', async () => {
  const signedUp = await inspect('--method', 'tools/call', '--tool-name', 'signUp',
                                 '--tool-arg', 'key=inspector key', 'displayName=Inspector');
  assert.equal(signedUp.isError, false);
  const { accountId, balance } = signedUp.structuredContent;
  const loggedIn = await inspect('--method', 'tools/call', '--tool-name', 'login',
                                 '--tool-arg', `accountId=${accountId}`, 'key=inspector key');
  assert.deepEqual(loggedIn.structuredContent, { accountId, displayName: 'Inspector', balance });
});

test('reports a host that is not running when none can be started', async () => {
  await host.stop();
  await assert.rejects(inspectWith(aloneBridge(), '--method', 'tools/list'), (error) => {
    assert.notEqual(error.code, 0);
    assert.match(`${error.stdout}${error.stderr}`, /Tallywick host is not running/);
    return true;
  });
});
