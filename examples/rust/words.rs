// A host in Rust: counts the lines, words and bytes of a text file, and records that it did so.
//
// rustc --target x86_64-pc-windows-gnu -C linker=x86_64-w64-mingw32-gcc -L lib examples/rust/words.rs
use std::ffi::CString;
use std::io::Write;
use std::os::raw::{c_char, c_void};
use std::process::ExitCode;
use std::ptr::null;

#[link(name = "Vantra")]
extern "C" {
    fn UTInitialize(usage_key: *const c_char, crash_handling: bool, agent_folder: *const c_char) -> i32;
    fn UTGetOptIn() -> i32;
    fn UTSetOptIn(value: i32) -> i32;
    fn UTStartSession(session: *mut *mut c_void, family: *const c_char, name: *const c_char,
                      version: *const c_char, build: *const c_char, language: *const c_char) -> i32;
    fn UTLogEvent(session: *mut c_void, category: *const c_char, sub_category: *const c_char,
                  name: *const c_char, doc_id: *const c_char, doc_id_length: u32) -> i32;
    fn UTNewDataGroup(session: *mut c_void, category: *const c_char, sub_category: *const c_char,
                      name: *const c_char, group: *mut u32, doc_id: *const c_char, doc_id_length: u32) -> i32;
    fn UTAddToGroup(session: *mut c_void, group: u32, key: *const c_char, value: *const c_char) -> i32;
    fn UTCloseSession(session: *mut *mut c_void) -> i32;
}

/// A NUL-terminated text, valid as long as the value; empty for a text with a NUL inside.
fn text(text: &str) -> CString {
    CString::new(text).unwrap_or_default()
}

/// A session that closes itself. Without consent it is null, and calls with null do nothing.
struct Session(*mut c_void);

impl Session {
    fn start(family: &str, name: &str, version: &str) -> Session {
        let mut session = Session(std::ptr::null_mut());
        unsafe {
            UTStartSession(&mut session.0, text(family).as_ptr(), text(name).as_ptr(), text(version).as_ptr(),
                           null(), null())
        };
        session
    }

    /// Only a digest of the document is recorded.
    fn event(&self, category: &str, sub_category: &str, name: &str, document: &str) {
        unsafe {
            UTLogEvent(self.0, text(category).as_ptr(), text(sub_category).as_ptr(), text(name).as_ptr(),
                       text(document).as_ptr(), document.len() as u32)
        };
    }

    fn group(&self, category: &str, sub_category: &str, name: &str, document: &str, values: &[(&str, usize)]) {
        let mut group = 0;
        unsafe {
            if UTNewDataGroup(self.0, text(category).as_ptr(), text(sub_category).as_ptr(), text(name).as_ptr(),
                              &mut group, text(document).as_ptr(), document.len() as u32) == 0 {
                for (key, value) in values {
                    UTAddToGroup(self.0, group, text(key).as_ptr(), text(&value.to_string()).as_ptr());
                }
            }
        }
    }
}

impl Drop for Session {
    fn drop(&mut self) {
        unsafe { UTCloseSession(&mut self.0) };
    }
}

/// Asks a user who has not answered yet. Vantra stores the answer.
fn ask_for_consent() {
    if unsafe { UTGetOptIn() } != -1 {
        return;
    }
    print!("May Words record how it is used? (y/n) ");
    let _ = std::io::stdout().flush();
    let mut answer = String::new();
    if std::io::stdin().read_line(&mut answer).unwrap_or(0) > 0 {
        unsafe { UTSetOptIn(answer.starts_with('y').into()) };
    }
}

fn main() -> ExitCode {
    let path = match std::env::args().nth(1) {
        Some(path) => path,
        None => {
            eprintln!("usage: words FILE");
            return ExitCode::from(2);
        }
    };
    unsafe { UTInitialize(text("AcmeWords").as_ptr(), true, null()) };
    ask_for_consent();
    let session = Session::start("Acme", "Words", "1.0");
    let content = match std::fs::read(&path) {
        Ok(content) => content,
        Err(error) => {
            session.event("File", "Text", "OpenFailed", &path);
            eprintln!("words: {path}: {error}");
            return ExitCode::FAILURE;
        }
    };
    let lines = content.iter().filter(|&&byte| byte == b'\n').count();
    let words = content.split(u8::is_ascii_whitespace).filter(|word| !word.is_empty()).count();
    session.event("File", "Text", "Count", &path);
    session.group("File", "Text", "Counts", &path, &[("Lines", lines), ("Words", words), ("Bytes", content.len())]);
    println!("{lines} {words} {}", content.len());
    ExitCode::SUCCESS
}
